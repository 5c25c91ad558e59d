// The page around the toy's canvas, on desktops and phones. Loaded before the toy (lumlife.js),
// so that what it puts on Module is there when the toy starts.
// - Fit: the canvas fills the window at the largest size of its own shape, centred; a window
//   taller than wide gets the toy's portrait drawing size, a wider one the landscape size, at
//   start and whenever the window changes shape (a rotation). The drawing size follows the
//   screen's pixels (devicePixelRatio) up to the toy's own size at start, 960 x 640 (turned in
//   portrait), and is never below its smallest, 480 x 320: the toy's layout then keeps its scale
//   whole. The toy takes the request (Module.lumFit) at its next tick; a window's new size is
//   asked for once it has held a moment, so a size the window passes through (a rotation's
//   animation, a browser laying the page out for a screenshot) lays nothing out anew.
// - Touch: one finger is the mouse: a tap is a click (however short, its release reaches the toy
//   at a later tick than its press), a drag a stroke; other fingers are ignored; the page neither
//   scrolls, zooms, selects nor shows a menu over the canvas.
// - Patterns: the bar's Open, Copy RLE, Paste, Download and Share link; a file dropped on the
//   page; Ctrl+V or Cmd+V anywhere; a link ending in #rle=PATTERN. What comes in is read by the
//   toy (src/page.cpp); a refusal is shown in one line and changes nothing.
// - Offline: a service worker (sw.js, versioned by the build) keeps the page's files, on
//   127.0.0.1 and over https only, where browsers allow one.
"use strict";

(function () {
  var OWN_LONG = 960, OWN_SHORT = 640;      // the toy's drawing size at start
  var LEAST_LONG = 480, LEAST_SHORT = 320;  // its smallest: the layout's scale 1
  var BAR = 40;                             // the bar's thickness in CSS pixels
  var WIDE_BAR = 560;                       // a top bar this wide shows its buttons without a menu
  var FIT_SETTLE_MS = 150;                  // a resized window's drawing size is asked for after this
  var TAP_MS = 60;                          // a tap's release comes at least this long after its press
  var TAP_LOOK_MS = 8;                      // and after the toy has taken the press: looked at this often
  var NOTE_MS = 8000;                       // a note shows this long
  var LINK_KEY = "#rle=";

  var page = document.getElementById("page");
  var bar = document.getElementById("bar");
  var frame = document.getElementById("frame");
  var canvas = document.getElementById("canvas");
  var note = document.getElementById("note");
  var menu = document.getElementById("menu");
  var actions = document.getElementById("actions");
  var fileInput = document.getElementById("file");

  //--------------------------------------------------------------------------------
  // Fit
  //--------------------------------------------------------------------------------
  var fitSerial = 0;
  var fitTimer = null;

  // The canvas shown at the largest size of its drawing size's shape in the frame, crisp when
  // the screen has more pixels than the drawing
  function fitShown() {
    var w = frame.clientWidth, h = frame.clientHeight;
    if (!w || !h || !canvas.width || !canvas.height)
      return;
    var scale = Math.min(w / canvas.width, h / canvas.height);
    var cw = Math.floor(canvas.width * scale), ch = Math.floor(canvas.height * scale);
    frame.style.setProperty("--canvas-w", cw + "px");
    frame.style.setProperty("--canvas-h", ch + "px");
    canvas.classList.toggle("pixelated", cw * (window.devicePixelRatio || 1) >= canvas.width);
  }

  // The bar's place for the window's shape
  function place() {
    var w = window.innerWidth, h = window.innerHeight;
    var tall = h >= w;
    page.classList.toggle("side", !tall);
    bar.classList.toggle("wide", tall && w >= WIDE_BAR);
    fitShown();
  }

  // The toy's drawing size for the window's shape and pixels, asked of the toy
  function fit() {
    fitTimer = null;
    place();
    var w = window.innerWidth, h = window.innerHeight;
    var tall = h >= w;
    var room = tall ? Math.min(w / OWN_SHORT, Math.max(h - BAR, 1) / OWN_LONG)
                    : Math.min(Math.max(w - BAR, 1) / OWN_LONG, h / OWN_SHORT);
    var scale = Math.min(Math.max(room * (window.devicePixelRatio || 1), LEAST_LONG / OWN_LONG), 1);
    var long = Math.round(OWN_LONG * scale), short = Math.round(long * OWN_SHORT / OWN_LONG);
    Module.lumFit = {serial: ++fitSerial, w: tall ? short : long, h: tall ? long : short};
  }

  // A resize: the page follows at once, the toy once the size has held
  function fitSoon() {
    place();
    clearTimeout(fitTimer);
    fitTimer = setTimeout(fit, FIT_SETTLE_MS);
  }

  window.addEventListener("resize", fitSoon);
  window.addEventListener("orientationchange", fitSoon);
  // The toy sets the drawing size (its start, a new layout, F1): the shown size follows
  new MutationObserver(fitShown).observe(canvas, {attributes: true, attributeFilter: ["width", "height"]});

  //--------------------------------------------------------------------------------
  // Touch
  //--------------------------------------------------------------------------------
  var finger = null;      // the touch that is the mouse, or null
  var pressedAt = 0;
  var press = null;       // the press given to the toy for it
  var pendingUp = null;   // a tap's release waiting for its moment: [timer, touch]

  function mouse(type, touch) {
    var event = new MouseEvent(type, {
      bubbles: true, cancelable: true, view: window, button: 0, buttons: type === "mouseup" ? 0 : 1,
      clientX: touch.clientX, clientY: touch.clientY, screenX: touch.screenX, screenY: touch.screenY});
    canvas.dispatchEvent(event);
    return event;
  }

  // The toy has taken the press from its queue of events, at a tick before the release's: a
  // press and a release in one tick would be a release alone, which is no click
  function pressTaken() {
    return typeof SDL === "undefined" || !SDL.events || SDL.events.indexOf(press) < 0;
  }

  function releaseWhenTaken() {
    if (!pendingUp)
      return;
    if (performance.now() - pressedAt >= TAP_MS && pressTaken())
      releaseNow();
    else
      pendingUp[0] = setTimeout(releaseWhenTaken, TAP_LOOK_MS);
  }

  function releaseNow() {
    if (!pendingUp)
      return;
    clearTimeout(pendingUp[0]);
    var touch = pendingUp[1];
    pendingUp = null;
    mouse("mouseup", touch);
  }

  function finger_of(event) {
    for (var i = 0; i < event.changedTouches.length; i++)
      if (event.changedTouches[i].identifier === finger)
        return event.changedTouches[i];
    return null;
  }

  // The first tap may start the sound: the browser allows it from the end of a touch
  function startSound() {
    try {
      if (typeof SDL !== "undefined" && SDL.audioContext && SDL.audioContext.state === "suspended")
        SDL.audioContext.resume();
    } catch (error) {
      console.log("page: " + error);
    }
  }

  function onTouch(event) {
    if (event.target !== canvas)
      return;
    event.preventDefault();
    event.stopImmediatePropagation();
    if (event.type === "touchstart") {
      if (finger !== null)
        return;
      releaseNow();
      var first = event.changedTouches[0];
      finger = first.identifier;
      pressedAt = performance.now();
      mouse("mousemove", first);
      press = mouse("mousedown", first);
      return;
    }
    var touch = finger_of(event);
    if (!touch)
      return;
    if (event.type === "touchmove") {
      mouse("mousemove", touch);
      return;
    }
    finger = null;
    startSound();
    pendingUp = [0, touch];
    releaseWhenTaken();
  }

  ["touchstart", "touchmove", "touchend", "touchcancel"].forEach(function (type) {
    window.addEventListener(type, onTouch, {capture: true, passive: false});
  });
  // No pinch or double-tap zoom of the page, wherever the fingers are
  document.addEventListener("gesturestart", function (event) { event.preventDefault(); }, {passive: false});
  document.addEventListener("dblclick", function (event) { event.preventDefault(); }, {passive: false});

  //--------------------------------------------------------------------------------
  // Notes
  //--------------------------------------------------------------------------------
  var noteTimer = null;

  function say(text) {
    var span = document.createElement("span");
    span.textContent = text;
    note.replaceChildren(span);
    note.classList.remove("gone");
    clearTimeout(noteTimer);
    noteTimer = setTimeout(function () { note.classList.add("gone"); }, NOTE_MS);
  }

  //--------------------------------------------------------------------------------
  // Patterns
  //--------------------------------------------------------------------------------
  var ready = false;  // the toy has read its saved settings and takes patterns
  var waiting = [];   // what came before that: [source, bytes]

  // Hand `bytes` to the toy: opened, or the refusal shown
  function open(source, bytes) {
    if (!ready) {
      waiting.push([source, bytes]);
      return;
    }
    var max = Module._page_read_max();
    if (bytes.length > max + 1)
      bytes = bytes.subarray(0, max + 1);  // longer than any pattern: refused by its length
    var name = new TextEncoder().encode(source + "\0");
    var at = Module._malloc(bytes.length + name.length + 1);
    if (!at) {
      say(source + ": too large to read here");
      return;
    }
    Module.HEAPU8.set(name, at);
    Module.HEAPU8.set(bytes, at + name.length);
    var refused = Module.UTF8ToString(Module._page_open_pattern(at, at + name.length, bytes.length));
    Module._free(at);
    if (refused)
      say(refused);
    else
      say("Opened the pattern from " + source);
  }

  function openText(source, text) {
    open(source, new TextEncoder().encode(text));
  }

  function openFile(file) {
    var max = ready ? Module._page_read_max() : (1 << 20);
    file.slice(0, max + 1).arrayBuffer().then(function (buffer) {
      open(file.name, new Uint8Array(buffer));
    }, function (error) {
      say(file.name + ": cannot be read: " + error.message);
    });
  }

  function rle() {
    return ready ? Module.UTF8ToString(Module._page_pattern_rle()) : null;
  }

  function copyText(text) {
    if (navigator.clipboard && navigator.clipboard.writeText)
      return navigator.clipboard.writeText(text);
    return new Promise(function (resolve, reject) {
      var area = document.createElement("textarea");
      area.value = text;
      document.body.appendChild(area);
      area.select();
      var done = document.execCommand("copy");
      area.remove();
      (done ? resolve : reject)(new Error("the browser gives no clipboard here"));
    });
  }

  function link(text) {
    return location.href.split("#")[0] + LINK_KEY + encodeURIComponent(text);
  }

  // The pattern of a link the page was opened with (or given while open), taken once: a reload
  // does not open it again over what the user has done since
  function takeLink() {
    if (location.hash.indexOf(LINK_KEY) !== 0)
      return;
    var encoded = location.hash.slice(LINK_KEY.length);
    history.replaceState(null, "", location.href.split("#")[0]);
    var text;
    try {
      text = decodeURIComponent(encoded);
    } catch (error) {
      say("the link: not a pattern (its text is not URL-encoded)");
      return;
    }
    openText("the link", text);
  }

  function stamp() {
    var d = new Date(), two = function (n) { return (n < 10 ? "0" : "") + n; };
    return d.getFullYear() + "-" + two(d.getMonth() + 1) + "-" + two(d.getDate()) + " " + two(d.getHours()) + "-" +
           two(d.getMinutes()) + "-" + two(d.getSeconds());
  }

  function closeMenu() {
    actions.classList.remove("open");
    menu.setAttribute("aria-expanded", "false");
  }

  var buttons = {
    open: function () {
      fileInput.value = "";
      fileInput.click();
    },
    copy: function () {
      var text = rle();
      if (text === null)
        return say("The toy has not started yet");
      copyText(text).then(function () { say("Copied the grid as RLE"); },
                          function (error) { say("Cannot copy: " + error.message); });
    },
    paste: function () {
      if (!navigator.clipboard || !navigator.clipboard.readText)
        return say("The clipboard cannot be read here: paste with Ctrl+V");
      navigator.clipboard.readText().then(function (text) {
        openText("the clipboard", text);
      }, function () {
        say("The clipboard cannot be read here: paste with Ctrl+V");
      });
    },
    download: function () {
      var text = rle();
      if (text === null)
        return say("The toy has not started yet");
      var a = document.createElement("a");
      a.href = URL.createObjectURL(new Blob([text], {type: "application/x-life-rle"}));
      a.download = "Lum Life " + stamp() + ".rle";
      document.body.appendChild(a);
      a.click();
      a.remove();
      setTimeout(function () { URL.revokeObjectURL(a.href); }, 10000);
    },
    share: function () {
      var text = rle();
      if (text === null)
        return say("The toy has not started yet");
      var url = link(text);
      if (navigator.share) {
        navigator.share({title: "Lum Life", url: url}).catch(function (error) {
          if (error.name !== "AbortError")
            say("Cannot share: " + error.message);
        });
        return;
      }
      copyText(url).then(function () { say("Copied a link to the grid"); },
                         function (error) { say("Cannot copy the link: " + error.message); });
    },
  };

  Object.keys(buttons).forEach(function (id) {
    document.getElementById(id).addEventListener("click", function () {
      closeMenu();
      buttons[id]();
    });
  });
  menu.addEventListener("click", function () {
    var opened = actions.classList.toggle("open");
    menu.setAttribute("aria-expanded", opened ? "true" : "false");
  });
  fileInput.addEventListener("change", function () {
    if (fileInput.files.length)
      openFile(fileInput.files[0]);
  });

  // A file dropped anywhere on the page
  window.addEventListener("dragover", function (event) {
    event.preventDefault();
    if (event.dataTransfer)
      event.dataTransfer.dropEffect = "copy";
    page.classList.add("drop");
  });
  window.addEventListener("dragleave", function () { page.classList.remove("drop"); });
  window.addEventListener("drop", function (event) {
    event.preventDefault();
    page.classList.remove("drop");
    var data = event.dataTransfer;
    if (data && data.files && data.files.length)
      openFile(data.files[0]);
    else if (data && data.getData("text/plain"))
      openText("the dropped text", data.getData("text/plain"));
  });

  // Ctrl+V and Cmd+V are the browser's paste, not keys for the toy (they mean nothing to it)
  function pasteKey(event) {
    if ((event.ctrlKey || event.metaKey) && !event.altKey && (event.key === "v" || event.key === "V"))
      event.stopImmediatePropagation();
  }
  window.addEventListener("keydown", pasteKey, true);
  window.addEventListener("keyup", pasteKey, true);
  document.addEventListener("paste", function (event) {
    var data = event.clipboardData;
    if (!data)
      return;
    event.preventDefault();
    if (data.files && data.files.length)
      openFile(data.files[0]);
    else
      openText("the clipboard", data.getData("text/plain"));
  });

  window.addEventListener("hashchange", takeLink);

  // Called by the toy once it has started (src/page.cpp); what came before is opened then, out
  // of the toy's own call
  Module.lumPageReady = function () {
    setTimeout(function () {
      ready = true;
      var before = waiting;
      waiting = [];
      before.forEach(function (item) { open(item[0], item[1]); });
      takeLink();
    }, 0);
  };

  //--------------------------------------------------------------------------------
  // Offline
  //--------------------------------------------------------------------------------
  var local = location.hostname === "127.0.0.1" || location.hostname === "localhost" || location.hostname === "[::1]";
  if ("serviceWorker" in navigator && (location.protocol === "https:" || local)) {
    navigator.serviceWorker.register("sw.js").then(function () {
      return navigator.serviceWorker.ready;
    }).then(function () {
      console.log("page: kept for offline play");
    }, function (error) {
      console.log("page: no offline copy: " + error.message);
    });
  }

  fit();
})();
