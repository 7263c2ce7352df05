"""A browser without a window, for tests of pages: Chromium, spoken to over the WebDriver protocol of its
chromedriver (W3C WebDriver), as far as the tests need it."""

import json
import re
import shutil
import subprocess
import urllib.request

PATIENCE = 30      # seconds, for one answer

KEYS = {"up": "\ue013", "down": "\ue015", "left": "\ue012", "right": "\ue014", "escape": "\ue00c",
        "shift": "\ue008"}

OPTIONS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
           "--window-size=1400,1000"]


def missing():
    """The program that is not there; nothing if both are."""
    return next((name for name in ("chromium", "chromedriver") if not shutil.which(name)), None)


class Browser:
    def __init__(self):
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, text=True)
        self.root = None
        try:
            self.root = "http://127.0.0.1:%d" % self.port()
            options = {"args": OPTIONS, "binary": shutil.which("chromium")}
            wanted = {"goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}
            answer = self.ask("POST", "/session", {"capabilities": {"alwaysMatch": wanted}})
            self.root += "/session/" + answer["sessionId"]
        except BaseException:
            self.driver.kill()
            self.driver.wait()
            raise

    def port(self):
        for line in self.driver.stdout:
            found = re.search(r"started successfully on port (\d+)", line)
            if found:
                return int(found.group(1))
        raise RuntimeError("chromedriver does not start")

    def ask(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.root + path, data, {"Content-Type": "application/json"},
                                         method=method)
        with urllib.request.urlopen(request, timeout=PATIENCE) as answer:
            return json.load(answer)["value"]

    def close(self):
        try:
            self.ask("DELETE", "")
        finally:
            self.driver.terminate()
            self.driver.wait()
            self.driver.stdout.close()

    # ---- What a user does -----------------------------------------------------------------------

    def open(self, file):
        self.ask("POST", "/url", {"url": file.as_uri()})

    def run(self, script, *arguments):
        """What a function body in the page returns."""
        return self.ask("POST", "/execute/sync", {"script": script, "args": arguments})

    def act(self, kind, name, actions):
        source = {"type": kind, "id": name, "actions": actions}
        if kind == "pointer":
            source["parameters"] = {"pointerType": "mouse"}
        self.ask("POST", "/actions", {"actions": [source]})

    def press(self, *keys):
        """Keys one after the other; "shift+left" is both at once."""
        actions = []
        for key in keys:
            held = [KEYS.get(part, part) for part in (key.split("+") if len(key) > 1 else [key])]
            actions += [{"type": "keyDown", "value": part} for part in held]
            actions += [{"type": "keyUp", "value": part} for part in reversed(held)]
        self.act("key", "keyboard", actions)

    def point(self, x, y):
        self.act("pointer", "mouse", [{"type": "pointerMove", "duration": 0, "x": int(x), "y": int(y)}])

    def drag(self, start, end):
        moves = [{"type": "pointerMove", "duration": 0, "x": int(x), "y": int(y)} for x, y in (start, end)]
        self.act("pointer", "mouse", [moves[0], {"type": "pointerDown", "button": 0}, moves[1],
                                      {"type": "pointerUp", "button": 0}])

    def turn_wheel(self, x, y, down):
        self.act("wheel", "wheel", [{"type": "scroll", "x": int(x), "y": int(y), "deltaX": 0, "deltaY": down,
                                     "duration": 0}])

    # ---- What the browser does ------------------------------------------------------------------

    def tell(self, command, **parameters):
        """A command of the DevTools protocol."""
        return self.ask("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def prefer(self, scheme):
        self.tell("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])

    def complaints(self):
        """Lines on the console since it was asked last."""
        return [line["message"] for line in self.ask("POST", "/se/log", {"type": "browser"})]
