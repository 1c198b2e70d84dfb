"""A browser without a window that a test drives: opens pages, presses keys, reads what became of them.

Speaks the browser's own protocol (https://chromedevtools.github.io/devtools-protocol/) through a pair of pipes.
"""

import base64
import json
import os
import subprocess
import tempfile
import time

PATIENCE_S = 30


class Browser:
    def __init__(self):
        # Its processes may write a little longer than the one that is waited for.
        self._folder = tempfile.TemporaryDirectory(prefix="playback-browser-", ignore_cleanup_errors=True)
        command_read, self._commands = os.pipe()
        self._answers, answer_write = os.pipe()

        def take_pipes():
            # These numbers are the protocol's; neither pipe may have the other's.
            read, write = os.dup(command_read), os.dup(answer_write)
            os.dup2(read, 3)
            os.dup2(write, 4)

        self._process = subprocess.Popen(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--remote-debugging-pipe", "--no-first-run",
             f"--user-data-dir={self._folder.name}", "about:blank"],
            preexec_fn=take_pipes, close_fds=False, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(command_read)
        os.close(answer_write)
        self._unread = b""
        self._number = 0
        self._session = None
        self.console = []
        pages = self.call("Target.getTargets")["targetInfos"]
        page = next(page for page in pages if page["type"] == "page")
        self._session = self.call("Target.attachToTarget", targetId=page["targetId"], flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log"):
            self.call(f"{domain}.enable")

    def close(self):
        self._session = None
        try:
            self.call("Browser.close")
            self._process.wait(PATIENCE_S)
        finally:
            self._process.kill()
            self._process.wait()
            os.close(self._commands)
            os.close(self._answers)
            self._folder.cleanup()

    def _read(self):
        while b"\0" not in self._unread:
            part = os.read(self._answers, 1 << 20)
            if not part:
                raise RuntimeError("the browser has ended")
            self._unread += part
        message, self._unread = self._unread.split(b"\0", 1)
        message = json.loads(message)
        if message.get("method") == "Runtime.exceptionThrown":
            details = message["params"]["exceptionDetails"]
            self.console.append(details.get("exception", {}).get("description", details["text"]))
        elif message.get("method") == "Log.entryAdded":
            entry = message["params"]["entry"]
            self.console.append(f"{entry['level']}: {entry['text']} {entry.get('url', '')}")
        elif message.get("method") == "Runtime.consoleAPICalled":
            self.console.append(" ".join(str(one.get("value")) for one in message["params"]["args"]))
        return message

    def call(self, method, **parameters):
        self._number += 1
        command = {"id": self._number, "method": method, "params": parameters}
        if self._session:
            command["sessionId"] = self._session
        os.write(self._commands, json.dumps(command).encode() + b"\0")
        while (message := self._read()).get("id") != self._number:
            pass
        if "error" in message:
            raise RuntimeError(f"{method}: {message['error']['message']}")
        return message["result"]

    def open(self, address, width=1400, height=900, dark=False):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])
        # Another fragment alone would not load the page again.
        self.call("Page.navigate", url="about:blank")
        self.call("Page.navigate", url=address)

    def evaluate(self, script):
        """What an expression is, of values that JSON has."""
        result = self.call("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(f"{script}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def wait(self, script):
        """Until an expression is true; answers its value."""
        end = time.monotonic() + PATIENCE_S
        while time.monotonic() < end:
            if value := self.evaluate(f"document.readyState == 'complete' && ({script})"):
                return value
            time.sleep(0.05)
        raise RuntimeError(f"did not become true: {script}; the page says: {self.evaluate('document.body.innerText')}")

    def press(self, key):
        text = key if len(key) == 1 else "\r" if key == "Enter" else ""
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=key, text=text if kind == "keyDown" else "")

    def click(self, x, y):
        for kind in ("mouseMoved", "mousePressed", "mouseReleased"):
            self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left", clickCount=1)

    def screenshot(self, path):
        picture = self.call("Page.captureScreenshot", format="png")
        path.write_bytes(base64.b64decode(picture["data"]))
