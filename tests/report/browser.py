"""Headless Chromium, driven over its debugging pipe: open a page, press keys, evaluate, count what
it asks the network for. Nothing beyond Python's own library is needed."""

import base64
import json
import os
import select
import subprocess
import tempfile
import time


class Browser:
    def __init__(self, program, width=1280, height=800):
        to_read, self._to = os.pipe()
        self._from, to_write = os.pipe()
        self._profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        command = [program, "--headless=new", "--remote-debugging-pipe", "--no-sandbox",
                   "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
                   "--disable-background-networking", "--disable-component-update",
                   "--disable-extensions", "--disable-sync", "--no-default-browser-check",
                   f"--user-data-dir={self._profile.name}", f"--window-size={width},{height}"]

        def place_pipes():  # the browser reads from 3 and writes to 4
            kept = [os.dup(to_read), os.dup(to_write)]
            kept = [fd if fd > 4 else os.dup(fd) for fd in kept]
            os.dup2(kept[0], 3)
            os.dup2(kept[1], 4)

        self._process = subprocess.Popen(
            command, preexec_fn=place_pipes, close_fds=False, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_read)
        os.close(to_write)
        self._number = 0
        self._pending = b""
        self._session = None
        self.requests = []
        self.errors = []
        target = self.call("Target.createTarget", url="about:blank")
        self._session = self.call("Target.attachToTarget", targetId=target["targetId"],
                                  flatten=True)["sessionId"]
        for domain in ("Page", "Network", "Runtime", "Log"):
            self.call(domain + ".enable")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.kill()
        self._process.wait()
        self._profile.cleanup()

    def call(self, method, **parameters):
        self._number += 1
        message = {"id": self._number, "method": method, "params": parameters}
        if self._session:
            message["sessionId"] = self._session
        os.write(self._to, json.dumps(message).encode() + b"\0")
        while True:
            reply = self._receive(60)
            if reply.get("id") == self._number:
                if "error" in reply:
                    raise RuntimeError(f"{method}: {reply['error']}")
                return reply["result"]

    def _receive(self, seconds):
        end = time.monotonic() + seconds
        while b"\0" not in self._pending:
            if not select.select([self._from], [], [], max(0, end - time.monotonic()))[0]:
                raise TimeoutError("the browser does not answer")
            part = os.read(self._from, 1 << 20)
            if not part:
                raise RuntimeError("the browser ended")
            self._pending += part
        text, self._pending = self._pending.split(b"\0", 1)
        message = json.loads(text)
        self._note(message.get("method"), message.get("params", {}))
        return message

    def _note(self, event, parameters):
        if event == "Network.requestWillBeSent":
            self.requests.append(parameters["request"]["url"])
        elif event == "Runtime.exceptionThrown":
            details = parameters["exceptionDetails"]
            self.errors.append(details.get("exception", {}).get("description", details["text"]))
        elif event == "Log.entryAdded" and parameters["entry"]["level"] == "error":
            self.errors.append(parameters["entry"]["text"])

    def evaluate(self, expression):
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True,
                           awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(str(result["exceptionDetails"]))
        return result["result"].get("value")

    def open(self, path):
        """Gives the seconds until the page is ready and was painted."""
        begin = time.monotonic()
        self.call("Page.navigate", url="file://" + path)
        while not self.evaluate("document.documentElement?.dataset.ready === '1'"):
            time.sleep(0.01)
        self.evaluate("new Promise((done) => requestAnimationFrame(() => setTimeout(done)))")
        return time.monotonic() - begin

    def press(self, keys):
        for key in keys if isinstance(keys, list) else list(keys):
            text = key if len(key) == 1 else ""
            self.call("Input.dispatchKeyEvent", type="keyDown", key=key, text=text)
            self.call("Input.dispatchKeyEvent", type="keyUp", key=key)

    def type(self, text):
        self.call("Input.insertText", text=text)

    def click(self, selector):
        x, y = self.evaluate(
            "(() => { const r = document.querySelector(" + json.dumps(selector) +
            ").getBoundingClientRect(); return [r.x + r.width / 2, r.y + r.height / 2]; })()")
        for kind in ("mousePressed", "mouseReleased"):
            self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left", clickCount=1)

    def text(self, selector):
        return self.evaluate(f"document.querySelector({json.dumps(selector)}).innerText")

    def screenshot(self, path):
        with open(path, "wb") as file:
            file.write(base64.b64decode(self.call("Page.captureScreenshot")["data"]))

    def print_to(self, path):
        with open(path, "wb") as file:
            file.write(base64.b64decode(
                self.call("Page.printToPDF", preferCSSPageSize=True)["data"]))

    def answer_dialogs(self):
        """Every question of the page is answered Yes."""
        self.evaluate("window.confirm = () => true")
