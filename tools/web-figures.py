#!/usr/bin/python3
"""web-figures: the browser build's figures, measured in headless Chromium, and its screenshot.

    tools/web-figures.py BUILD [SCREENSHOT.png]     (`make web-figures`)

Prints the download's size (lumlife.wasm, lumlife.js, lumlife.data, the page and what makes it
installable, raw and gzipped), the time from the start of the page's load to its first drawn
frame, and the frames drawn each second over 10 seconds; with a file name, also writes a
screenshot of the canvas as Chromium shows it, with the page's note on it (the README's). Then
the same on an emulated phone (390 x 844 CSS pixels at three device pixels each, touch): the
first drawn frame of a first visit, and of a visit with the server stopped (the service worker's
copy), and the frames a second while the grid runs (RUN tapped). Chromium starts with an empty
profile, so the toy starts on a random grid; every figure comes from one run of this machine.
A frame is counted when the page has drawn with WebGL since the browser's last animation frame.
Uses the browser tests' driver (tests/support/browser_driver.py).
"""

import base64
import gzip
import os
import shutil
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "support"))
import browser_driver  # noqa: E402

FILES = ["lumlife.wasm", "lumlife.js", "lumlife.data", "index.html", "page.js", "sw.js", "manifest.webmanifest",
         "icon-192.png", "icon-512.png"]
PHONE = {"width": 390, "height": 844, "deviceScaleFactor": 3, "mobile": True}
RUN_AT = (580, 826)  # RUN's centre on the phone's 640 x 960 canvas, in canvas pixels
MEASURE_SECONDS = 10.0
START_SECONDS = 60.0

# Counts WebGL draws, and frames with at least one draw, from the page's first moment
FRAME_COUNTER = """
(() => {
  window.lumFrames = {first: null, frames: 0, drawn: false};
  for (const name of ["drawElements", "drawArrays"]) {
    const draw = WebGLRenderingContext.prototype[name];
    WebGLRenderingContext.prototype[name] = function (...args) {
      if (window.lumFrames.first === null)
        window.lumFrames.first = performance.now();
      window.lumFrames.drawn = true;
      return draw.apply(this, args);
    };
  }
  const tick = () => {
    if (window.lumFrames.drawn)
      window.lumFrames.frames++;
    window.lumFrames.drawn = false;
    requestAnimationFrame(tick);
  };
  requestAnimationFrame(tick);
})();
"""


def value(tools, expression):
    result = tools.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
    return result["result"].get("value")


def first_frame(tools, served, path):
    """Open `path` and wait for its first drawn frame: milliseconds from the load's start."""
    tools.call("Page.navigate", url=served + path)
    time.sleep(0.2)  # the new page's own count (the figure is its own clock's, not this wait's)
    began = time.monotonic()
    first = None
    while first is None and time.monotonic() - began < START_SECONDS:
        time.sleep(0.05)
        first = value(tools, "window.lumFrames ? window.lumFrames.first : null")
    return first


def frames_a_second(tools):
    counts = []
    for _ in range(int(MEASURE_SECONDS)):
        before = value(tools, "window.lumFrames.frames")
        time.sleep(1.0)
        counts.append(value(tools, "window.lumFrames.frames") - before)
    return "%s (mean %.1f)" % (" ".join(map(str, counts)), sum(counts) / len(counts))


def phone(build):
    """The figures on the emulated phone, from a profile of their own."""
    profile = tempfile.mkdtemp(prefix="lumweb-figures")
    started = browser_driver.start(build, profile, FRAME_COUNTER)
    if not started:
        print("chromium did not start", file=sys.stderr)
        return 1
    tools, chromium, served = started
    try:
        tools.call("Emulation.setDeviceMetricsOverride", **PHONE)
        tools.call("Emulation.setTouchEmulationEnabled", enabled=True, maxTouchPoints=5)
        cold = first_frame(tools, served, "/index.html")
        if cold is None:
            print("the page drew nothing on the phone", file=sys.stderr)
            return 1
        print("phone: first drawn frame, first visit: %.0f ms after the page's load began" % cold)
        began = time.monotonic()
        while time.monotonic() - began < START_SECONDS and value(
                tools, "caches.keys().then(k => k.length)") != 1:
            time.sleep(0.2)
        time.sleep(3.0)  # the toy on its game screen
        x, y = browser_driver.page_point(tools, *RUN_AT)
        for kind in ("touchStart", "touchEnd"):
            tools.call("Input.dispatchTouchEvent", type=kind,
                       touchPoints=[{"x": x, "y": y, "id": 0}] if kind == "touchStart" else [])
            time.sleep(0.2)
        shots = os.path.join(profile, "canvas.rgb")
        browser_driver.run(tools, "pixels", shots)
        with open(shots, "rb") as f:
            before = f.read()
        counted = frames_a_second(tools)
        browser_driver.run(tools, "pixels", shots)
        with open(shots, "rb") as f:
            running = f.read() != before
        print("phone: frames a second over %d s, %s: %s" %
              (MEASURE_SECONDS, "the grid running" if running else "the grid still (RUN was not taken)", counted))
        browser_driver.SERVER.shutdown()
        browser_driver.SERVER.server_close()
        warm = first_frame(tools, served, "/index.html")
        print("phone: first drawn frame, server stopped (the service worker's copy): %s" %
              ("%.0f ms after the page's load began" % warm if warm is not None else "none"))
    finally:
        browser_driver.stop(chromium)
        shutil.rmtree(profile, ignore_errors=True)
    return 0


def main():
    build = sys.argv[1]
    screenshot = sys.argv[2] if len(sys.argv) > 2 else None
    print("download:")
    raw_total = zipped_total = 0
    for name in FILES:
        with open(os.path.join(build, name), "rb") as f:
            data = f.read()
        zipped = len(gzip.compress(data, 9))
        raw_total += len(data)
        zipped_total += zipped
        print("  %-14s %8d bytes raw, %8d gzipped" % (name, len(data), zipped))
    print("  %-14s %8d bytes raw, %8d gzipped" % ("total", raw_total, zipped_total))

    profile = tempfile.mkdtemp(prefix="lumweb-figures")
    started = browser_driver.start(build, profile, FRAME_COUNTER)
    if not started:
        print("chromium did not start", file=sys.stderr)
        return 1
    tools, chromium, served = started
    try:
        first = first_frame(tools, served, "/index.html")
        if first is None:
            print("the page drew nothing", file=sys.stderr)
            return 1
        print("first drawn frame: %.0f ms after the page's load began" % first)
        print("frames a second over %d s: %s" % (MEASURE_SECONDS, frames_a_second(tools)))

        if screenshot:
            left, top, width, height = browser_driver.canvas_rect(tools)
            shot = tools.call("Page.captureScreenshot", format="png",
                              clip={"x": left, "y": top, "width": width, "height": height, "scale": 1})
            with open(screenshot, "wb") as out:
                out.write(base64.b64decode(shot["data"]))
            print("screenshot: " + screenshot)
    finally:
        browser_driver.stop(chromium)
        shutil.rmtree(profile, ignore_errors=True)
    return phone(build)


if __name__ == "__main__":
    sys.exit(main())
