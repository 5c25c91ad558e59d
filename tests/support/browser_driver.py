#!/usr/bin/python3
"""browser_driver: headless Chromium for the browser tests, driven over the DevTools protocol.

Serves a folder on 127.0.0.1 (a port of the system's choosing), starts Chromium on a profile of
the test's own with an empty page, and then takes commands, one per line, from a FIFO:
    ID goto PATH             open the served PATH ("/index.html"); any other path is an empty
                             page of the same origin, whose storage a test may prepare
    ID eval JS               evaluate JS in the page, awaiting a promise; the answer is its value
                             as JSON
    ID mouse TYPE X Y        a mouse event (press, release, move) at canvas pixel X, Y (the
                             canvas's own pixels, wherever and however large the page shows it)
    ID touch TYPE X Y [F]    a touch event (start, move, end) of finger F (0 unless given) at
                             canvas pixel X, Y; the other fingers down stay where they are
    ID call METHOD JSON      a DevTools call with the JSON object's parameters; the answer is
                             its result as JSON
    ID server stop           stop serving the folder (the network gone)
    ID key TYPE KEY          a key event (down, up) for a DOM key name: Escape, F1, ...
    ID pixels PATH [page]    the canvas as shown, as raw RGB rows (top first) in PATH, one for
                             each of the canvas's own pixels (its middle as shown): "W H". Read
                             from the window as it is; with "page", from a picture of the whole
                             page, for which Chromium lays the page out anew at another size
                             for a moment (a resize the page sees, as a person's might be)
    ID reload                reload the page (its IndexedDB stays)
    ID script JS             run JS before the scripts of every page opened from now on
    ID quit                  end Chromium and the driver
Standard output carries, one per line:
    ready URL                once Chromium is ready: the served folder's address
    console TEXT             every console message of the page (newlines as "\\n"), and
                             "console EXCEPTION: ..." for an uncaught exception
    reply ID ok VALUE        a command's answer, or "reply ID error WHY"
Before every page starts, a tap is installed on its Web Audio: every node connected to the
output is connected to an analyser too, whose spectrum is looked at every 10 ms: while anything
is audible, its peaks (local maxima within 20 dB of the loudest, at most four, loudest first) go
into window.lumAudioPeaks as one list of [hz, dB] per look. The analyser's window is 170 ms long,
so a short blip is seen even when a busy page looks late. Pages may play sound without a click.
Uses Debian's chromium and python3-websocket; run it with /usr/bin/python3.
"""

import base64
import ctypes
import functools
import http.server
import json
import os
import queue
import signal
import socketserver
import struct
import subprocess
import sys
import threading
import time
import urllib.request
import zlib

import websocket

CHROMIUM_FLAGS = [
    "--headless=new", "--no-sandbox", "--use-angle=swiftshader", "--enable-unsafe-swiftshader",
    "--no-first-run", "--no-default-browser-check", "--disable-background-networking",
    "--disable-component-update", "--disable-sync", "--disable-quic", "--disable-extensions",
    "--disable-background-timer-throttling", "--disable-renderer-backgrounding",
    "--disable-backgrounding-occluded-windows", "--window-size=1100,800",
    "--autoplay-policy=no-user-gesture-required",
    # Composited in software: with SwiftShader also compositing, a page that draws with WebGL
    # on every timer is shown a few times a second only
    "--disable-gpu-compositing",
    "--remote-debugging-address=127.0.0.1", "--remote-debugging-port=0",
]
START_SECONDS = 60.0   # Chromium's start on a loaded machine
ANSWER_SECONDS = 60.0  # one DevTools call
SERVED = ""            # the served folder's address
SERVER = None          # its server
PR_SET_PDEATHSIG = 1   # prctl's option: the signal a child gets when its parent ends

AUDIO_TAP = """
(() => {
  window.lumAudioPeaks = [];
  const connect = AudioNode.prototype.connect;
  AudioNode.prototype.connect = function (target, ...rest) {
    const result = connect.call(this, target, ...rest);
    if (target instanceof AudioDestinationNode) {
      const context = target.context;
      if (!context.lumAnalyser) {
        const analyser = context.createAnalyser();
        analyser.fftSize = 8192;
        analyser.smoothingTimeConstant = 0;
        context.lumAnalyser = analyser;
        const bins = new Float32Array(analyser.frequencyBinCount);
        const hz = i => i * context.sampleRate / analyser.fftSize;
        setInterval(() => {
          analyser.getFloatFrequencyData(bins);
          let loudest = -Infinity;
          for (let i = 1; i < bins.length; i++)
            loudest = Math.max(loudest, bins[i]);
          if (loudest <= -60)
            return;
          const peaks = [];
          for (let i = 2; i < bins.length - 1; i++)
            if (bins[i] > loudest - 20 && bins[i] >= bins[i - 1] && bins[i] > bins[i + 1])
              peaks.push([hz(i), bins[i]]);
          peaks.sort((a, b) => b[1] - a[1]);
          window.lumAudioPeaks.push(peaks.slice(0, 4));
        }, 10);
      }
      connect.call(this, context.lumAnalyser);
    }
    return result;
  };
})();
"""


def end_with_parent():
    """In the child: be ended when the driver ends, however it ends (a test killed on a timeout
    must not leave Chromium running)."""
    ctypes.CDLL("libc.so.6", use_errno=True).prctl(PR_SET_PDEATHSIG, signal.SIGTERM)


def say(line):
    sys.stdout.write(line.replace("\n", "\\n") + "\n")
    sys.stdout.flush()


class Quiet(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *args):
        pass

    def send_error(self, code, message=None, explain=None):
        # A missing file is an empty page of the origin, for tests that prepare its storage
        if code != 404:
            return super().send_error(code, message, explain)
        body = b"<!doctype html><title>empty</title>"
        self.send_response(200)
        self.send_header("Content-Type", "text/html")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def end_headers(self):
        self.send_header("Cache-Control", "no-store")
        super().end_headers()


class DevTools:
    """One page's DevTools connection: calls by id, events to a handler, on a reader thread."""

    def __init__(self, url, on_event):
        self.socket = websocket.create_connection(url, timeout=None)
        self.on_event = on_event
        self.next_id = 0
        self.waiting = {}
        self.lock = threading.Lock()
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        while True:
            try:
                message = json.loads(self.socket.recv())
            except Exception:
                for box in list(self.waiting.values()):
                    box.put({"error": {"message": "connection closed"}})
                return
            if "id" in message:
                box = self.waiting.pop(message["id"], None)
                if box:
                    box.put(message)
            else:
                self.on_event(message.get("method"), message.get("params", {}))

    def call(self, method, **params):
        box = queue.Queue()
        with self.lock:
            self.next_id += 1
            call_id = self.next_id
            self.waiting[call_id] = box
            self.socket.send(json.dumps({"id": call_id, "method": method, "params": params}))
        answer = box.get(timeout=ANSWER_SECONDS)
        if "error" in answer:
            raise RuntimeError(answer["error"].get("message", "error"))
        return answer.get("result", {})


def on_event(method, params):
    if method == "Runtime.consoleAPICalled":
        texts = []
        for arg in params.get("args", []):
            value = arg.get("value", arg.get("description", ""))
            texts.append(value if isinstance(value, str) else json.dumps(value))
        say("console " + " ".join(texts))
    elif method == "Runtime.exceptionThrown":
        details = params.get("exceptionDetails", {})
        text = details.get("exception", {}).get("description") or details.get("text", "")
        say("console EXCEPTION: " + text)


def png_rgb(data):
    """The pixels of an 8-bit, non-interlaced PNG as (w, h, RGB bytes)."""
    at = 8
    w = h = colour = 0
    idat = b""
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + length]
        if kind == b"IHDR":
            w, h, depth, colour = struct.unpack(">IIBB", body[:10])
            if depth != 8 or body[12] != 0:
                raise RuntimeError("only 8-bit non-interlaced PNGs")
        elif kind == b"IDAT":
            idat += body
        at += 12 + length
    channels = {0: 1, 2: 3, 4: 2, 6: 4}[colour]
    raw = zlib.decompress(idat)
    stride = w * channels
    rows = []
    previous = bytearray(stride)
    at = 0
    for _ in range(h):
        kind = raw[at]
        row = bytearray(raw[at + 1:at + 1 + stride])
        at += 1 + stride
        for i in range(stride):
            left = row[i - channels] if i >= channels else 0
            up = previous[i]
            corner = previous[i - channels] if i >= channels else 0
            if kind == 1:
                row[i] = (row[i] + left) & 255
            elif kind == 2:
                row[i] = (row[i] + up) & 255
            elif kind == 3:
                row[i] = (row[i] + (left + up) // 2) & 255
            elif kind == 4:
                p = left + up - corner
                pa, pb, pc = abs(p - left), abs(p - up), abs(p - corner)
                guess = left if pa <= pb and pa <= pc else (up if pb <= pc else corner)
                row[i] = (row[i] + guess) & 255
        rows.append(row)
        previous = row
    rgb = bytearray()
    for row in rows:
        for x in range(w):
            pixel = row[x * channels:(x + 1) * channels]
            rgb += pixel[:3] if channels >= 3 else bytes([pixel[0]] * 3)
    return w, h, bytes(rgb)


def canvas_rect(tools):
    return canvas_place(tools)[:4]


def canvas_place(tools):
    """The canvas as the page shows it, [left, top, width, height], then its own size [w, h]."""
    result = tools.call("Runtime.evaluate", expression=
                        "JSON.stringify((c => (r => [r.left, r.top, r.width, r.height, c.width, c.height])"
                        "(c.getBoundingClientRect()))(document.getElementById('canvas')))",
                        returnByValue=True)
    return json.loads(result["result"]["value"])


def page_point(tools, x, y):
    """Canvas pixel (x, y) as a point of the page."""
    left, top, width, height, w, h = canvas_place(tools)
    return left + float(x) * width / w, top + float(y) * height / h


def resample(shot_w, shot_h, rgb, w, h):
    """The middle of each of w x h cells of a shot_w x shot_h picture."""
    out = bytearray()
    for y in range(h):
        row = min(shot_h - 1, int((y + 0.5) * shot_h / h)) * shot_w
        for x in range(w):
            at = (row + min(shot_w - 1, int((x + 0.5) * shot_w / w))) * 3
            out += rgb[at:at + 3]
    return bytes(out)


TOUCHES = {}  # the fingers down: id -> the point where each is


MOUSE = {"press": "mousePressed", "release": "mouseReleased", "move": "mouseMoved"}
KEYS = {"Escape": 27, "Enter": 13, "Tab": 9, "Backspace": 8, "Delete": 46, "ArrowUp": 38,
        "ArrowDown": 40, "ArrowLeft": 37, "ArrowRight": 39}
for n in range(1, 13):
    KEYS["F%d" % n] = 111 + n


def run(tools, command, rest):
    if command == "eval":
        result = tools.call("Runtime.evaluate", expression=rest, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"].get("text", "exception"))
        return json.dumps(result["result"].get("value"))
    if command == "mouse":
        kind, x, y = rest.split()
        px, py = page_point(tools, x, y)
        event = {"type": MOUSE[kind], "x": px, "y": py, "button": "left",
                 "buttons": 1 if kind == "press" else 0, "clickCount": 1 if kind != "move" else 0}
        tools.call("Input.dispatchMouseEvent", **event)
        return "done"
    if command == "touch":
        words = rest.split()
        kind, x, y = words[:3]
        finger = int(words[3]) if len(words) > 3 else 0
        px, py = page_point(tools, x, y)
        if kind == "end":
            TOUCHES.pop(finger, None)
        else:
            TOUCHES[finger] = {"x": px, "y": py, "id": finger, "radiusX": 1, "radiusY": 1, "force": 1}
        tools.call("Input.dispatchTouchEvent", type={"start": "touchStart", "move": "touchMove", "end": "touchEnd"}[kind],
                   touchPoints=list(TOUCHES.values()))
        return "done"
    if command == "call":
        method, _, params = rest.partition(" ")
        return json.dumps(tools.call(method, **(json.loads(params) if params.strip() else {})))
    if command == "server":
        if rest.strip() != "stop":
            raise RuntimeError("unknown server command " + rest)
        SERVER.shutdown()
        SERVER.server_close()
        return "done"
    if command == "key":
        kind, key = rest.split()
        code = KEYS.get(key, ord(key.upper()[0]))
        tools.call("Input.dispatchKeyEvent", type="keyDown" if kind == "down" else "keyUp", key=key,
                   code=key if len(key) > 1 else "Key" + key.upper(), windowsVirtualKeyCode=code,
                   nativeVirtualKeyCode=code)
        return "done"
    if command == "pixels":
        path, _, whole = rest.partition(" ")
        if whole not in ("", "page"):
            raise RuntimeError("unknown pixels option " + whole)
        left, top, width, height, w, h = canvas_place(tools)
        shot = tools.call("Page.captureScreenshot", format="png", captureBeyondViewport=whole == "page",
                          clip={"x": left, "y": top, "width": width, "height": height, "scale": 1})
        shot_w, shot_h, rgb = png_rgb(base64.b64decode(shot["data"]))
        if (shot_w, shot_h) != (w, h):
            rgb = resample(shot_w, shot_h, rgb, w, h)
        with open(path, "wb") as out:
            out.write(rgb)
        return "%d %d" % (w, h)
    if command == "goto":
        tools.call("Page.navigate", url=SERVED + rest)
        return "done"
    if command == "script":
        tools.call("Page.addScriptToEvaluateOnNewDocument", source=rest)
        return "done"
    if command == "reload":
        tools.call("Page.reload", ignoreCache=True)
        return "done"
    raise RuntimeError("unknown command " + command)


def start(root, profile, extra_script=""):
    """Serve `root` on 127.0.0.1, start Chromium on `profile` with the audio tap (and
    `extra_script`) installed for every page; returns (DevTools, Chromium, the served address),
    or None if Chromium did not start."""
    global SERVED, SERVER
    handler = functools.partial(Quiet, directory=root)
    server = SERVER = socketserver.ThreadingTCPServer(("127.0.0.1", 0), handler)
    server.daemon_threads = True
    threading.Thread(target=server.serve_forever, daemon=True).start()
    SERVED = "http://127.0.0.1:%d" % server.server_address[1]

    chromium = subprocess.Popen(["chromium", *CHROMIUM_FLAGS, "--user-data-dir=" + profile, "about:blank"],
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, preexec_fn=end_with_parent)
    port_file = os.path.join(profile, "DevToolsActivePort")
    began = time.monotonic()
    pages = []
    while not pages:
        if time.monotonic() - began > START_SECONDS or chromium.poll() is not None:
            chromium.kill()
            return None
        time.sleep(0.05)
        try:
            with open(port_file) as f:
                port = int(f.readline())
            with urllib.request.urlopen("http://127.0.0.1:%d/json/list" % port, timeout=5) as answer:
                pages = [t for t in json.load(answer) if t.get("type") == "page"]
        except (OSError, ValueError):
            continue

    tools = DevTools(pages[0]["webSocketDebuggerUrl"], on_event)
    tools.call("Runtime.enable")
    tools.call("Page.enable")
    tools.call("Page.addScriptToEvaluateOnNewDocument", source=AUDIO_TAP + extra_script)
    return tools, chromium, SERVED


def stop(chromium):
    chromium.terminate()
    try:
        chromium.wait(timeout=10)
    except subprocess.TimeoutExpired:
        chromium.kill()


def main():
    root, profile, commands = sys.argv[1:4]
    started = start(root, profile)
    if not started:
        say("console DRIVER: chromium did not start")
        return 1
    tools, chromium, served = started
    say("ready " + served + "/")

    with open(commands) as lines:
        for line in lines:
            parts = line.rstrip("\n").split(" ", 2)
            if len(parts) < 2:
                continue
            command_id, command = parts[0], parts[1]
            if command == "quit":
                say("reply %s ok done" % command_id)
                break
            try:
                say("reply %s ok %s" % (command_id, run(tools, command, parts[2] if len(parts) > 2 else "")))
            except Exception as error:
                say("reply %s error %s" % (command_id, error))
    stop(chromium)
    return 0


if __name__ == "__main__":
    sys.exit(main())
