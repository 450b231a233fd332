"""A browser without a window, told what to do through two pipes. Only what this folder's tests need."""
import base64
import json
import os
import select
import shutil
import subprocess
import tempfile
import time


def find():
    """The program, or None."""
    names = ("chromium", "chromium-browser", "google-chrome")
    return next((path for path in map(shutil.which, names) if path), None)


class Browser:
    def __init__(self):
        self.profile = tempfile.mkdtemp(prefix="browser")
        here_in, there_out = os.pipe()
        there_in, here_out = os.pipe()
        self.read_from, self.write_to = here_in, here_out
        command = [find(), "--headless", "--remote-debugging-pipe", "--user-data-dir=" + self.profile,
                   "--no-first-run", "--disable-gpu", "--hide-scrollbars", "--disable-background-networking",
                   "--disable-component-update", "--disable-dev-shm-usage", "--force-device-scale-factor=1"]
        if os.geteuid() == 0:
            command.append("--no-sandbox")  # it refuses to start as the superuser otherwise

        # The browser reads from 3 and writes to 4. Copies first: one of the pipes may have that number already.
        def take_pipes():
            reads, writes = os.dup(there_in), os.dup(there_out)
            os.dup2(reads, 3)
            os.dup2(writes, 4)

        self.process = subprocess.Popen(command, preexec_fn=take_pipes, close_fds=False,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        os.close(there_in)
        os.close(there_out)
        self.rest = b""
        self.number = 0
        self.events = []
        self.session = None
        target = self.send("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.send("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Network", "Runtime", "Log"):
            self.send(domain + ".enable")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.session = None
        try:
            self.send("Browser.close")
            self.process.wait(10)
        except (OSError, EOFError, TimeoutError, subprocess.TimeoutExpired):
            self.process.kill()
            self.process.wait()
        os.close(self.read_from)
        os.close(self.write_to)
        shutil.rmtree(self.profile, ignore_errors=True)

    def send(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        text = json.dumps(message).encode() + b"\0"
        while text:
            text = text[os.write(self.write_to, text):]
        while True:
            answer = self.receive()
            if answer.get("id") == message["id"]:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def receive(self, seconds=30):
        end = time.monotonic() + seconds
        while b"\0" not in self.rest:
            if not select.select([self.read_from], [], [], max(0, end - time.monotonic()))[0]:
                raise TimeoutError("the browser says nothing")
            more = os.read(self.read_from, 1 << 20)
            if not more:
                raise EOFError("the browser has ended")
            self.rest += more
        text, self.rest = self.rest.split(b"\0", 1)
        return json.loads(text)

    def open(self, path):
        """Opens the file. Gives the seconds until it is loaded and painted."""
        self.events.clear()
        begin = time.monotonic()
        self.send("Page.navigate", url="file://" + str(path))
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self.receive())
        self.evaluate("new Promise(done => requestAnimationFrame(() => requestAnimationFrame(() => done(0))))")
        return time.monotonic() - begin

    def evaluate(self, script):
        result = self.send("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"])
        return result["result"].get("value")

    def requests(self):
        """What the page has asked for, itself included."""
        return [event["params"]["request"]["url"] for event in self.events
                if event.get("method") == "Network.requestWillBeSent"]

    def complaints(self):
        """What the browser says about the page, such as a breach of its policy of contents."""
        return [event["params"] for event in self.events
                if event.get("method") in ("Log.entryAdded", "Runtime.exceptionThrown")]

    def look(self, width=1200, scheme="light", medium="screen"):
        self.send("Emulation.setDeviceMetricsOverride", width=width, height=800, deviceScaleFactor=1,
                  mobile=False)
        self.send("Emulation.setEmulatedMedia", media=medium,
                  features=[{"name": "prefers-color-scheme", "value": scheme}])

    def picture(self, width, height):
        """The beginning of the page, as a PNG."""
        return base64.b64decode(self.send("Page.captureScreenshot", format="png", captureBeyondViewport=True,
                                          clip={"x": 0, "y": 0, "width": width, "height": height,
                                                "scale": 1})["data"])

    def pdf(self):
        return base64.b64decode(self.send("Page.printToPDF", preferCSSPageSize=True)["data"])
