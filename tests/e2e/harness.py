"""What the tests of whole programs share: a folder of their own, running programs in it, and judging how they ended.

Each test runs by itself (ctest runs several at a time):

    cd tests/e2e && python3 -m unittest -v test_errors.Usage.test_unknown_option

PLAYBACK_BUILD names the build folder (default: build). When a test fails, its folder is kept, with all that the
programs wrote and with a script that runs its commands again.
"""

import json
import os
import pathlib
import shlex
import shutil
import subprocess
import tempfile
import time
import unittest
from dataclasses import dataclass

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
BUILD = pathlib.Path(os.environ.get("PLAYBACK_BUILD", ROOT / "build")).resolve()
PLAYBACK = str(BUILD / "bin/playback")
RECORD = str(BUILD / "bin/playback-record")
INFO = str(BUILD / "bin/playback-info")
TRIM = str(BUILD / "bin/playback-trim")
BENCH = str(BUILD / "bin/playback-bench")
COMPARE = str(BUILD / "bin/playback-compare")
INSPECT = str(BUILD / "bin/playback-inspect")
PROBE = str(BUILD / "bin/playback-probe")
SPINNING = str(BUILD / "samples/spinning")
FAMILIES = str(BUILD / "tests/families")
FAKE_DRIVER = str(BUILD / "tests/fake-driver")
IMPORTING_DRIVER = str(BUILD / "tests/libimporting_driver.so")
FAULTY_DRIVER = str(BUILD / "tests/faulty-driver")
WITH_WESTON = str(ROOT / "scripts/with-weston")
SAMPLE = str(ROOT / "samples/spinning.glcap")
TIMEOUT_S = 100
# How long tests wait for what a program does while it runs.
PATIENCE_S = 30

# Set where the programs under test are of another architecture than this machine: the folder with what they link to.
SYSROOT = os.environ.get("QEMU_LD_PREFIX")
# Exit status of the programs.
DONE, DIFFERED, USAGE, UNREADABLE, NO_DRIVER, CUT_SHORT, NOT_WRITTEN = range(7)

_DISPLAY_VARIABLES = ("DISPLAY", "WAYLAND_DISPLAY", "WAYLAND_SOCKET", "XDG_RUNTIME_DIR", "EGL_PLATFORM")


@dataclass
class Result:
    command: list
    status: int
    stdout: str
    stderr: str

    def __str__(self):
        return (f"{shlex.join(self.command)}\nended with {self.status}\n--- stdout\n{self.stdout[-3000:]}\n"
                f"--- stderr\n{self.stderr[-6000:]}")


class Probe:
    """A playback-probe: a replay that is asked."""

    def __init__(self, test, capture):
        self._process = subprocess.Popen([PROBE, capture], cwd=test.dir, env=test.environment(), stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        test.addCleanup(self.close)

    def close(self):
        """Answers how it ended."""
        self._process.stdin.close()
        status = self._process.wait(PATIENCE_S)
        self._process.stdout.close()
        return status

    def ask(self, do, **more):
        """The answer, with the bytes that follow it as "data"."""
        self._process.stdin.write(json.dumps({"do": do, **more}).encode() + b"\n")
        self._process.stdin.flush()
        answer = json.loads(self._process.stdout.readline())
        answer["data"] = self._process.stdout.read(answer.get("bytes", 0))
        return answer


class EndToEndTest(unittest.TestCase):
    """A test with a folder, `self.dir`, in which all programs run, and no compositor unless it asks for one."""

    def setUp(self):
        self.dir = pathlib.Path(tempfile.mkdtemp(prefix=f"playback-{self._testMethodName}-"))
        self._script = ["#!/bin/sh", f"cd {shlex.quote(str(self.dir))}", f"unset {' '.join(_DISPLAY_VARIABLES)}"]

    def tearDown(self):
        failed = any(error for _, error in self._outcome.errors) if hasattr(self._outcome, "errors") else \
            bool(self._outcome.result.failures or self._outcome.result.errors)
        if not failed:
            shutil.rmtree(self.dir)
            return
        script = self.dir / "again.sh"
        script.write_text("\n".join(self._script) + "\n")
        print(f"\nThe folder of {self.id()} is kept. To repeat the test, or only its commands:\n"
              f"  cd {ROOT}/tests/e2e && PLAYBACK_BUILD={BUILD} python3 -m unittest -v {self.id()}\n"
              f"  sh {script}", flush=True)

    def environment(self, **more):
        result = {name: value for name, value in os.environ.items() if name not in _DISPLAY_VARIABLES}
        return result | more

    def need(self, program):
        """Skips the test where the architecture under test has no such program."""
        if SYSROOT and not pathlib.Path(SYSROOT, "usr/bin", program).exists():
            self.skipTest(f"{program} is not among the programs for AArch64")

    def note(self, command, more):
        """Adds a command to the script that repeats the test."""
        self._script.append(" ".join([f"{k}={shlex.quote(v)}" for k, v in more.items()] + [shlex.join(command)]))

    def run_program(self, *command, status=DONE, timeout=TIMEOUT_S, **environment):
        """Runs a program to its end. `status` is the exit status expected, or a collection of those allowed."""
        command = [str(part) for part in command]
        self.note(command, environment)
        done = subprocess.run(command, cwd=self.dir, env=self.environment(**environment), timeout=timeout,
                              stdin=subprocess.DEVNULL, capture_output=True, check=False)
        result = Result(command, done.returncode, done.stdout.decode(errors="replace"),
                        done.stderr.decode(errors="replace"))
        allowed = [status] if isinstance(status, int) else status
        if result.status not in allowed:
            self.fail(f"expected status {status}: {result}")
        return result

    def start_program(self, *command, **environment):
        """Starts a program that the test will end itself; its output goes to files of the folder."""
        command = [str(part) for part in command]
        self.note(command, environment)
        name = pathlib.Path(command[0]).name
        with open(self.dir / f"{name}.out", "wb") as out, open(self.dir / f"{name}.err", "wb") as err:
            process = subprocess.Popen(command, cwd=self.dir, env=self.environment(**environment), stdout=out,
                                       stderr=err, stdin=subprocess.DEVNULL)
        self.addCleanup(lambda: process.poll() is None and process.kill())
        return process

    def wait_for(self, is_so, what):
        """Asks until the answer is true, and returns it. `what` is said if that never comes."""
        end = time.monotonic() + PATIENCE_S
        while not (answer := is_so()):
            if time.monotonic() > end:
                self.fail("\n".join([f"waited in vain: {what}"] + [
                    f"--- {path.name}\n{path.read_text(errors='replace')[-3000:]}" for path in self.dir.glob("*.err")]))
            time.sleep(0.02)
        return answer

    def record(self, *program, capture="recorded.glcap", options=(), compositor=True):
        """Records a program with frame hashes."""
        weston = [WITH_WESTON] if compositor else []
        self.run_program(*weston, RECORD, "--hash", *options, "-o", capture, "--", *program)
        return capture

    def verify(self, capture, *options, compositor=False):
        """Replays and expects every frame to be the recorded one."""
        weston = [WITH_WESTON] if compositor else []
        return self.run_program(*weston, PLAYBACK, "-verify", *options, capture)

    def info(self, capture):
        return json.loads(self.run_program(INFO, "--json", capture).stdout)

    def actions(self, capture):
        """Frame, call, function, kind and number of each draw, clear and other action of a capture."""
        return [(frame, node["call"], node["text"].split("(")[0], node["kind"], node["number"])
                for frame in range(1, self.ask("frames", capture)["total"] + 1)
                for node in self.ask("actions", capture, f"frame={frame}")["tree"] if node["type"] == "action"]

    def query(self, name, capture, *parameters, **more):
        """Asks playback-inspect as a script does: its whole result."""
        return self.run_program(INSPECT, "--query", name, capture, *parameters, **more)

    def ask(self, name, capture, *parameters):
        """What it answers."""
        return json.loads(self.query(name, capture, *parameters).stdout)

    def ask_bytes(self, name, capture, *parameters):
        """The same where the answer is no JSON."""
        self.query(name, capture, *parameters, "-o", "answer")
        return (self.dir / "answer").read_bytes()

    def assertMentions(self, result, *texts):
        for text in texts:
            if text not in result.stderr:
                self.fail(f"no word of '{text}': {result}")
