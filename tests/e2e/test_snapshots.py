"""playback-inspect goes anywhere in a capture by way of the states that it keeps, and ends whatever it does."""

import contextlib
import http.client
import json
import os
import pathlib
import signal
import threading
import unittest

from harness import FAMILIES, FAULTY_DRIVER, PATIENCE_S, PLAYBACK, SPINNING
from test_inspect import Inspect


def children(process):
    """The processes that it has started and that are there."""
    return [int(path.parent.name) for path in pathlib.Path("/proc").glob("[0-9]*/stat")
            if (fields := read(path).rpartition(")")[2].split()) and int(fields[1]) == process and fields[0] != "Z"]


def read(path):
    with contextlib.suppress(OSError):
        return path.read_text()
    return ""


class Jumps(Inspect):
    """Replays that begin with a snapshot show what a replay of the whole capture does."""

    def keep(self, capture, *options, **environment):
        """Serves it, and waits until all snapshots are made."""
        self.serve(capture, "--snapshots", "2", *options, **environment)
        self.get("inputs", at="1")
        self.wait_for(lambda: self.get("snapshots")["isDone"], "the snapshots")
        return self.get("snapshots")

    def hashes(self, targets):
        return [(target["object"], target["what"], target.get("hash")) for target in targets["targets"]]

    def test_anywhere_is_what_a_replay_of_all_shows(self):
        for family in ("transform-feedback", "compute", "threads", "queries", "images", "frames-of-fences"):
            with self.subTest(family):
                capture = self.record(FAMILIES, family, "--pbuffer", compositor=False)
                snapshots = self.keep(capture)
                frames = self.info(capture)["frames"]
                self.assertEqual(snapshots["frames"], list(range(3, frames + 1, 2)))
                for frame in (frames, 4, frames - 1, 3):
                    tree = self.get("actions", frame=frame)["tree"]
                    at = f"{frame}:{[node['number'] for node in tree if node['type'] == 'action'][-1]}"
                    whole, here = self.ask("targets", capture, f"at={at}"), self.get("targets", at=at)
                    self.assertTrue(all("hash" in target for target in whole["targets"]), whole)
                    self.assertEqual(self.hashes(here), self.hashes(whole), at)
                    self.assertEqual((here["at"], here["failed"]), (at, whole["failed"]))
                    self.assertEqual(self.get("state", at=at), self.ask("state", capture, f"at={at}"))
                after = self.get("snapshots")
                self.assertNotIn("trouble", after)
                self.assertLess(0, after["bytes"])
                self.stop()

    def test_a_snapshot_that_shows_something_else_is_not_used(self):
        capture = self.record(SPINNING, "--frames", "9", "--pbuffer", compositor=False)
        # The first draw of each replay is not drawn, which nothing shows any more after frame 1, unless it begins later.
        snapshots = self.keep(capture, "--driver", FAULTY_DRIVER, PLAYBACK_FAULT="draw:1")
        self.assertEqual(snapshots["frames"], [3, 5, 7, 9])
        self.assertEqual(self.hashes(self.get("targets", at="8:3")), self.hashes(self.ask("targets", capture, "at=8:3")))
        after = self.get("snapshots")
        self.assertEqual(after["frames"], [9])
        self.assertIn("shows something else", after["trouble"])

    def test_a_crash_names_the_call_of_the_capture(self):
        capture = self.record(SPINNING, "--frames", "12", "--pbuffer", compositor=False)
        draws = [[node["call"] for node in self.ask("actions", capture, f"frame={frame}")["tree"]
                  if node.get("text", "").startswith("glDrawArrays(")] for frame in range(1, 13)]
        # The pass along the capture ends in frame 6, having kept the starts of 3 and 5.
        number = sum(map(len, draws[:5])) + 1
        snapshots = self.keep(capture, "--driver", FAULTY_DRIVER, PLAYBACK_FAULT=f"crash:{number}")
        self.assertIn(f"crashed in call 6:{draws[5][0]} glDrawArrays", snapshots["trouble"])
        self.assertEqual(snapshots["frames"], [3, 5])
        behind = [(frame, call) for frame in range(5, 13) for call in draws[frame - 1]]
        status, _, body = self.request(f"{self.path}api/targets?at=12")
        self.assertEqual(status, 502)
        self.assertIn("crashed in call {}:{} glDrawArrays".format(*behind[number - 1]), body.decode())
        self.assertEqual(self.get("targets", at="2:1")["at"], "2:1")


class Ahead(Inspect):
    """What may be asked for next in a frame that is looked at is known ahead."""

    @contextlib.contextmanager
    def without_replays(self):
        """Whatever needs a replay waits in vain."""
        stopped = children(self.server.pid)

        def send(number):
            for child in stopped:
                # The server ends those that it needs no more.
                with contextlib.suppress(ProcessLookupError):
                    os.kill(child, number)

        send(signal.SIGSTOP)
        try:
            yield
        finally:
            send(signal.SIGCONT)

    def look(self, at, ask):
        """What the page asks for when one goes to an action."""
        targets, unused, state = (ask(name, f"at={at}") for name in ("targets", "unused", "state"))
        del targets["hasSnapshot"]
        return targets, unused, state

    def test_it_is_what_a_replay_of_all_shows(self):
        for family in ("draw-buffers", "transform-feedback", "threads"):
            with self.subTest(family):
                capture = self.record(FAMILIES, family, "--pbuffer", compositor=False)
                self.serve(capture)
                actions = [f"4:{node['number']}" for node in self.get("actions", frame=4)["tree"] if node["type"] == "action"]
                self.get("targets", at="4")
                self.get("thumbnails", frame=4, wait=1)
                with self.without_replays():
                    known = {at: self.look(at, lambda name, at: self.get(name, at=at.removeprefix("at="))) for at in actions}
                    pixels = [self.request(f"{self.path}api/pixels?at={at}")[2] for at in actions]
                for at, here, bytes_here in list(zip(actions, known.values(), pixels))[::2]:
                    self.assertEqual(here, self.look(at, lambda name, at: self.ask(name, capture, at)))
                    self.assertEqual(bytes_here, self.ask_bytes("pixels", capture, f"at={at}"))
                self.stop()

    def test_edits_are_not_answered_from_it(self):
        capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)
        self.serve(capture)
        as_recorded = self.get("targets", at="4:3")["targets"]
        self.get("thumbnails", frame=4, wait=1)
        for edits, is_changed in ([{"kind": "skip", "at": "4:3"}], True), ([], False):
            status, _, body = self.request(f"{self.path}api/edits?at=4:3", "POST", json.dumps({"edits": edits}))
            self.assertEqual(status, 200, body)
            self.assertEqual(self.get("targets", at="4:3")["targets"] != as_recorded, is_changed)
            with self.without_replays():
                self.assertEqual(self.get("targets", at="4:3", edited=0)["targets"], as_recorded)

    def test_a_crash_ahead_is_nobodys_trouble(self):
        capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)
        tree = self.ask("actions", capture, "frame=1")["tree"]
        draws = [node for node in tree if node.get("text", "").startswith("glDrawArrays(")]
        self.serve(capture, "--driver", FAULTY_DRIVER, PLAYBACK_FAULT=f"crash:{len(draws)}")
        first = self.get("targets", at="1:1")
        calls = [action["call"] for action in self.get("thumbnails", frame=1, wait=1)["actions"]]
        self.assertEqual(calls, [node["call"] for node in tree if node["type"] == "action" and node["call"] < draws[-1]["call"]])
        self.assertEqual(self.request(f"{self.path}api/targets?at=1:c{draws[-1]['call']}")[0], 502)
        self.assertEqual(self.get("targets", at="1:1"), first)
        self.assertEqual(self.get("inputs", at="1:1")["at"], "1:1")


class Ending(Inspect):
    def test_it_ends_at_once_whatever_it_does(self):
        capture = self.record(SPINNING, "--frames", "600", "--pbuffer", compositor=False)
        for number in (signal.SIGTERM, signal.SIGINT):
            self.serve(capture)
            asking = threading.Thread(target=self.ask_for_the_end)
            asking.start()
            # The replay that was asked for, and the one that makes snapshots.
            self.wait_for(lambda: len(children(self.server.pid)) >= 2, "two replays")
            started = children(self.server.pid)
            self.server.send_signal(number)
            self.assertEqual(self.server.wait(PATIENCE_S), 0)
            asking.join()
            self.assertEqual([child for child in started if os.path.exists(f"/proc/{child}")], [])
            self.assertEqual(list(self.temporary.iterdir()), [])

    def ask_for_the_end(self):
        with contextlib.suppress(OSError, http.client.HTTPException):
            self.request(f"{self.path}api/targets?at=600")


class FromAPause(Inspect):
    def test_the_frame_at_which_replay_pauses_is_opened(self):
        capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)
        # In the place of a browser.
        browser = self.dir / "xdg-open"
        browser.write_text(f"#!/bin/sh\necho \"$1\" > {self.dir}/opened.part\nmv {self.dir}/opened.part {self.dir}/opened\n")
        browser.chmod(0o755)
        replay = self.start_program(PLAYBACK, "-headless", "-inspect", "-pauseframe", "3", capture,
                                    PATH=f"{self.dir}:{os.environ['PATH']}")
        self.wait_for((self.dir / "opened").exists, "the browser that is opened")
        address, place = (self.dir / "opened").read_text().strip().split("#")
        self.assertEqual(place, "3")
        self.host, self.path = address.removeprefix("http://").split("/", 1)
        self.path = "/" + self.path
        self.assertEqual(self.get("capture")["file"], capture)
        servers = children(replay.pid)
        replay.terminate()
        replay.wait(PATIENCE_S)
        self.assertIn(f"Inside of frame 3: {address}#3", (self.dir / "playback.err").read_text())
        self.assertEqual([server for server in servers if os.path.exists(f"/proc/{server}")], [])


if __name__ == "__main__":
    unittest.main()
