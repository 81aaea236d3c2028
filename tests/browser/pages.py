"""Pages of `coregeometry view` in headless Chromium: no errors on its console, clicks that answer, nothing blank.

pages.py COREGEOMETRY MAKE_PAGE MODEL [CHROMIUM]; needs websocket-client and pillow. Pictures of the pages stay in
the folder that it names when something is wrong.
"""

import base64
import io
import itertools
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

import websocket
from PIL import Image


class Browser:
    """One page, driven over the DevTools protocol."""

    def __init__(self, program, folder):
        self.process = subprocess.Popen(
            [program, "--headless=new", "--no-sandbox", "--use-angle=swiftshader", "--enable-unsafe-swiftshader",
             "--hide-scrollbars", "--window-size=1200,800", "--remote-debugging-port=0", "--remote-allow-origins=*",
             f"--user-data-dir={folder}", "--host-resolver-rules=MAP * ~NOTFOUND", "about:blank"],
            stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        lines = itertools.islice(self.process.stderr, 200)
        listening = next((line for line in lines if "DevTools listening on " in line), None)
        assert listening, "Chromium does not listen"
        self.ids = itertools.count(1)
        self.events = []
        self.session = None
        self.socket = websocket.create_connection(listening.split()[-1], timeout=120)
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(domain + ".enable")
        self.call("Emulation.setDeviceMetricsOverride", width=1200, height=800, deviceScaleFactor=1, mobile=False)

    def call(self, method, **parameters):
        number = next(self.ids)
        message = {"id": number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        self.socket.send(json.dumps(message))
        while True:
            answer = json.loads(self.socket.recv())
            if answer.get("id") == number:
                assert "error" not in answer, (method, answer)
                return answer["result"]
            self.events.append(answer)

    def value(self, expression):
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True)
        assert "exceptionDetails" not in answer, (expression, answer)
        return answer["result"].get("value")

    def wait(self, expression):
        for _ in range(600):
            if self.value(expression):
                return
            time.sleep(0.1)
        raise AssertionError(f"never true: {expression}; {self.faults()}")

    def open(self, file):
        self.events.clear()
        self.call("Page.navigate", url=pathlib.Path(file).resolve().as_uri())
        self.wait("document.body && document.body.dataset.state === 'ready'")
        self.rest()

    def rest(self):
        """Until two frames have been drawn."""
        self.call("Runtime.evaluate", awaitPromise=True,
                  expression="new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done)))")

    def click(self, x, y):
        for kind in ("mousePressed", "mouseReleased"):
            self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left", clickCount=1)
        self.rest()
        return self.value("Object.fromEntries([...document.querySelectorAll('#facts-list dt')].map("
                          "term => [term.textContent, term.nextSibling.textContent]))")

    def press(self, selector):
        self.value(f"document.querySelector({json.dumps(selector)}).click()")
        self.rest()

    def set(self, name, value):
        self.value(f"(e => {{ e.value = {value}; e.dispatchEvent(new Event('input')); }})(document.getElementById('{name}'))")
        self.rest()

    def picture(self, name):
        data = base64.b64decode(self.call("Page.captureScreenshot")["data"])
        (pictures / (name + ".png")).write_bytes(data)
        return Image.open(io.BytesIO(data)).convert("RGB")

    def faults(self):
        """Errors of the page, and whatever it asked the network for."""
        found = []
        for event in self.events:
            method, facts = event.get("method"), event.get("params", {})
            if method == "Runtime.exceptionThrown":
                found.append(facts["exceptionDetails"])
            elif method == "Runtime.consoleAPICalled" and facts["type"] in ("error", "assert"):
                found.append(facts["args"])
            elif method == "Log.entryAdded" and facts["entry"]["level"] == "error":
                found.append(facts["entry"])
            elif method == "Network.requestWillBeSent" and facts["request"]["url"].startswith("http"):
                found.append(facts["request"]["url"])
        return found

    def close(self):
        self.socket.close()
        self.process.terminate()
        self.process.wait()


def expect(real, wanted, what):
    assert real == wanted, f"{what}: {real} instead of {wanted}"


def scene(image):
    """The part of the page between the panels."""
    return image.crop((280, 60, 920, 690))


def colours_in(image):
    """How many colours the scene has, and how much of it is not the background."""
    middle = scene(image)
    counts = middle.getcolors(1 << 20)
    lively = sum(count for count, (r, g, b) in counts if max(r, g, b) - min(r, g, b) > 40)
    return len(counts), lively / (middle.width * middle.height)


def check_plate(browser, tool, page, kind):
    subprocess.run([tool, page, kind], check=True)
    browser.open(page)
    expect(browser.value("document.querySelector('h1').textContent"), "A plate & <b>more</b>", "title")
    expect(browser.value("document.querySelectorAll('#classes input').length"), 2, "classes")
    count, lively = colours_in(browser.picture(kind))
    assert count > 20 and lively > 0.15, f"{kind} is blank: {count} colours, {lively:.2f} of the page"
    facts = browser.click(608, 392)  # a little right of and above the middle of element 105
    expect(facts["Element"], "105", kind)
    expect(facts["Class"], "S4R \"</script>\"plate\"", kind)
    expect(facts["Nearest node"], "1022", kind)
    expect(facts["Displacement"], "0, 0, 0.02", kind)
    expect(facts["Value" if kind == "elements" else "at the node"], "111" if kind == "elements" else "122", kind)
    if kind != "elements":
        assert 116.5 < float(facts["Value here"]) < 120, facts
    assert "Pull\nframe 0" == browser.value("document.getElementById('fieldFrame').textContent")
    largest = {"nodes": "max 133 at node 1033", "corners": "max 133 at element 109", "elements": "max 122 at element 109"}[kind]
    expect(browser.value("document.getElementById('extremes').textContent").split("\n")[0], largest, kind)
    greys = browser.value("document.getElementById('greys').textContent")
    expect(greys, "aboveno value", kind)
    first = browser.picture(kind)
    browser.set("frame", 1)
    facts = browser.click(608, 392)
    expect(facts["Value" if kind == "elements" else "at the node"], "222" if kind == "elements" else "244", kind)
    assert scene(first) != scene(browser.picture(kind + "-frame1")), "the other frame looks the same"
    # turned, the displacement is seen; without it, nothing moves
    browser.press("#views button:nth-child(1)")
    moved = browser.picture(kind + "-moved")
    browser.set("factor", 0)
    assert scene(moved) != scene(browser.picture(kind + "-still")), "the displacement is not seen"
    # without the plate nothing is left but the beam
    browser.press("#classes label:nth-child(1) input")
    assert colours_in(browser.picture(kind + "-off"))[1] < 0.02, "a class that is off is seen"


def check_model(browser, tool, model, page):
    subprocess.run([tool, "view", model, "-o", page, "--force", "-q"], check=True)
    browser.open(page)
    count, lively = colours_in(browser.picture("model"))
    assert count > 20 and lively > 0.1, f"the model is blank: {count} colours, {lively:.2f}"
    facts = browser.click(600, 420)
    shown = json.loads(subprocess.run([tool, "query", model, "--element", facts["Element"], "--json"], check=True,
                                      capture_output=True, text=True).stdout)["elements"][0]
    assert int(facts["Nearest node"]) in shown["nodes"], (facts, shown)
    assert facts["Class"].startswith(shown["type"]), (facts, shown)
    before = browser.picture("model")
    for number, name in ((4, "dots on the boss"), (8, "the elements of the slope")):
        browser.press(f"#sets label:nth-child({number}) input")
        shown = browser.picture(f"model-set{number}")
        assert scene(before) != scene(shown), f"a set that is on is not seen: {name}"
        before = shown


def check_results(browser, tool, model, page):
    field = ["--field", "stress", "--invariant", "mises", "--at-nodes", "--frame", "last"]
    subprocess.run([tool, "view", model, "-o", page, "--force", "-q", "--deform", "disp", *field], check=True)
    browser.open(page)
    count, lively = colours_in(browser.picture("results"))
    assert count > 20 and lively > 0.1, f"the contours are blank: {count} colours, {lively:.2f}"
    facts = browser.click(600, 420)
    shown = json.loads(subprocess.run([tool, "fields", model, "stress", *field[2:], "--node", facts["Nearest node"], "--json"],
                                      check=True, capture_output=True, text=True).stdout)
    values = [row["values"][0] for row in shown["rows"]]
    assert any(abs(float(facts["at the node"]) - value) <= 1e-6 * abs(value) for value in values), (facts, shown)
    worst = json.loads(subprocess.run([tool, "fields", model, "stress", *field[2:], "--max", "--json"],
                                      check=True, capture_output=True, text=True).stdout)
    largest = browser.value("document.getElementById('extremes').textContent").split("\n")[0]
    value = worst["max"]["value"]
    assert abs(float(largest.split()[1]) - value) < 0.01 * value, (largest, worst) # shown with three digits


def main():
    tool, make_page, model = sys.argv[1:4]
    program = sys.argv[4] if len(sys.argv) > 4 else shutil.which("chromium")
    assert program, "no chromium: apt-get install chromium"
    with tempfile.TemporaryDirectory() as folder:
        browser = Browser(program, folder)
        try:
            for kind in ("nodes", "corners", "elements"):
                check_plate(browser, make_page, str(pictures / (kind + ".html")), kind)
                expect(browser.faults(), [], "errors of the page " + kind)
            check_model(browser, tool, model, str(pictures / "model.html"))
            expect(browser.faults(), [], "errors of the page of the model")
            check_results(browser, tool, model, str(pictures / "results.html"))
            expect(browser.faults(), [], "errors of the page with results")
        finally:
            browser.close()
    shutil.rmtree(pictures)
    print("pages: 5 shown, clicked at and without errors")


pictures = pathlib.Path(tempfile.mkdtemp(prefix="coregeometry-pages-"))
try:
    main()
except AssertionError:
    print(f"pictures of the pages: {pictures}", file=sys.stderr)
    raise
