// wrapper_host: the browser page under the SDL layer (see wrapper_host.h), with Emscripten.
// - The per-user folder ($HOME/.kobaltine) lives in the browser's IndexedDB (Emscripten's IDBFS):
//   it is read back at start, and every file a save replaces is copied there at once, and to the
//   page's local storage, which outlives a page closed before IndexedDB has finished.
// - The page has no way to stop a tab from closing, so when it is hidden or left (the tab closed,
//   reloaded or put in the background) the application's save runs at once, from the page's own
//   event, and is copied to IndexedDB.
// - Links open in a new tab.
// - The page fits the canvas to the window (dist/web/page.js) and asks for a new drawing size
//   when the window changes shape; the next tick opens a video mode of that size.
// - A canvas resized or a WebGL context restored has lost its picture: the next frame is drawn.
// - A mouse press on the canvas holds the pointer until its release, as a window does on the
//   desktop.
#include "wrapper_host.h"

#include <emscripten.h>

#include <cstdlib>
#include <string>

#include "log.h"
#include "wrapper_file.h"
#include "wrapper_system.h"

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
constexpr const char *WRAPPER_WEB_FOLDER = "/.kobaltine";  // under HOME: the per-user folder
constexpr double WRAPPER_WEB_SYNC_WAIT = 10.0;             // seconds start-up waits for IndexedDB

static bool mounted = false;  // the per-user folder is kept in IndexedDB
static int fit_serial = 0;    // the page's last request for a drawing size that was taken

//----------------------------------------------------------------------------------
// The page's side
//----------------------------------------------------------------------------------
// The page's storage, set up when the saved files are mounted:
// - Module.lumStoreFile(path) copies a file, and every folder between it and the mounted
//   folder (so that a later start can make them again), to IndexedDB in one transaction started
//   at once; and, since the page may be closing and a browser may drop a transaction it has not
//   finished then, to the page's local storage too, which is written before the call returns.
// - At start the files in local storage are the newest (they are written with every save and
//   dropped when they cannot be): they are put over what IndexedDB gave, and into IndexedDB.
// Module.lumSynced is set to 1 when the files are in, or to 2 when the browser has no IndexedDB
// for this page (then saves last only as long as the page).
EM_JS(void, web_mount_saves, (const char *folder), {
    var mount = UTF8ToString(folder);
    var LIFEBOAT = "lum-file:";
    Module.lumSynced = 0;
    Module.lumStoreFile = function(path) {
        var db = IDBFS.dbs[mount];
        if (!db || path.indexOf(mount + "/") !== 0)
            return;
        try {
            var bytes = FS.readFile(path);
            var text = "";
            for (var i = 0; i < bytes.length; i++)
                text += String.fromCharCode(bytes[i]);
            localStorage.setItem(LIFEBOAT + path, btoa(text));
        } catch (error) {
            try { localStorage.removeItem(LIFEBOAT + path); } catch (ignored) {}
        }
        try {
            var transaction = db.transaction([IDBFS.DB_STORE_NAME], "readwrite");
            var store = transaction.objectStore(IDBFS.DB_STORE_NAME);
            for (var p = path; p.length > mount.length; p = PATH.dirname(p)) {
                IDBFS.loadLocalEntry(p, function(error, entry) {
                    if (!error)
                        IDBFS.storeRemoteEntry(store, p, entry, function() {});
                });
            }
            transaction.oncomplete = function() { console.log("IndexedDB: stored '" + path + "'"); };
            transaction.onerror = function() { console.log("IndexedDB: " + transaction.error); };
        } catch (error) {
            console.log("IndexedDB: " + error);
        }
    };
    var restore = function() {
        var paths = [];
        try {
            for (var i = 0; i < localStorage.length; i++) {
                var key = localStorage.key(i);
                if (key.indexOf(LIFEBOAT + mount + "/") === 0)
                    paths.push(key.slice(LIFEBOAT.length));
            }
        } catch (error) {
            return;
        }
        paths.forEach(function(path) {
            var text = atob(localStorage.getItem(LIFEBOAT + path));
            var bytes = new Uint8Array(text.length);
            for (var i = 0; i < text.length; i++)
                bytes[i] = text.charCodeAt(i);
            FS.mkdirTree(PATH.dirname(path));
            FS.writeFile(path, bytes);
            Module.lumStoreFile(path);
        });
    };
    // Mounting IndexedDB's folder without IndexedDB would end the program: the browser's storage
    // may be switched off for the page, or refused
    var available = false;
    try {
        available = typeof indexedDB !== "undefined" && !!indexedDB;
    } catch (error) {
        available = false;
    }
    if (!available) {
        Module.lumSynced = 2;
        return;
    }
    try {
        FS.mkdirTree(mount);
        FS.mount(IDBFS, {}, mount);
        FS.syncfs(true, function(error) {
            if (error)
                console.log("IndexedDB: " + error);
            else
                restore();
            Module.lumSynced = error ? 2 : 1;
        });
    } catch (error) {
        console.log("IndexedDB: " + error);
        Module.lumSynced = 2;
    }
});

EM_JS(int, web_saves_synced, (), { return Module.lumSynced | 0; });

EM_JS(void, web_store_file, (const char *file), {
    Module.lumStoreFile(UTF8ToString(file));
});

// The page being hidden or left: save now, from the event itself
EM_JS(void, web_watch_page, (), {
    var save = function() { _wrapper_web_page_hidden(); };
    document.addEventListener("visibilitychange", function() {
        if (document.visibilityState === "hidden")
            save();
    });
    window.addEventListener("pagehide", save);
});

// The program ended (Escape held): the page stays, so it says what happened and what to do
EM_JS(void, web_show_ended, (), {
    var note = document.createElement("div");
    note.id = "ended";
    note.textContent = "Lum Life has ended: reload the page to play again";
    (document.getElementById("frame") || document.body).appendChild(note);
});

// The page's request for a drawing size, Module.lumFit = {serial, w, h}: a new serial for each
// request (at start, and whenever the window changes shape)
EM_JS(int, web_fit_serial, (), { return Module.lumFit ? Module.lumFit.serial | 0 : 0; });
EM_JS(int, web_fit_w, (), { return Module.lumFit ? Module.lumFit.w | 0 : 0; });
EM_JS(int, web_fit_h, (), { return Module.lumFit ? Module.lumFit.h | 0 : 0; });

EM_JS(void, web_open_tab, (const char *url), {
    window.open(UTF8ToString(url), "_blank", "noopener");
});

// The canvas lost its picture since the last call: its width or height was set (which clears its
// drawing buffer, even when set to the size it had) or its WebGL context was restored after a
// loss. The first call starts watching.
EM_JS(int, web_canvas_lost, (), {
    var canvas = Module.canvas;
    if (!canvas)
        return 0;
    if (!Module.lumCanvasWatched) {
        Module.lumCanvasWatched = true;
        Module.lumCanvasLost = 0;
        var lost = function() { Module.lumCanvasLost = 1; };
        new MutationObserver(lost).observe(canvas, {attributes: true, attributeFilter: ["width", "height"]});
        canvas.addEventListener("webglcontextrestored", lost);
    }
    var was = Module.lumCanvasLost;
    Module.lumCanvasLost = 0;
    return was ? 1 : 0;
});

// A mouse button pressed on the canvas captures the pointer until it is released: its moves and
// its release reach the canvas wherever the pointer goes, and no "mouseout" leaves the canvas
// meanwhile. SDL answers every "mouseout" with a release of each held button (it cannot see a
// release outside the canvas), and a browser also sends one when the page under a still pointer
// is laid out anew (a screenshot of it, for one); without the capture such a moment would end a
// paint stroke half way. Touches are held by their target anyway.
EM_JS(void, web_capture_presses, (), {
    var canvas = Module.canvas;
    if (!canvas || canvas.lumCapturesPresses || !canvas.setPointerCapture)
        return;
    canvas.lumCapturesPresses = true;
    canvas.addEventListener("pointerdown", function(event) {
        if (event.pointerType === "touch")
            return;
        try {
            canvas.setPointerCapture(event.pointerId);
        } catch (error) {
            // a pointer the browser no longer knows: nothing to hold
        }
    });
});

// Called by the page's handlers above
extern "C" EMSCRIPTEN_KEEPALIVE void wrapper_web_page_hidden()
{
    lum_log("page hidden: saving");
    wrapper_run_save_hook();
}

//----------------------------------------------------------------------------------
// The host
//----------------------------------------------------------------------------------
// Mount the saved files and wait (yielding to the page) until they are read in, so that the
// application's first read finds them
void wrapper_host_init()
{
    const char *home = std::getenv("HOME");
    const std::string folder = std::string(home && *home ? home : "/home/web_user") + WRAPPER_WEB_FOLDER;
    web_mount_saves(folder.c_str());
    const double start = wrapper_get_seconds();
    while (!web_saves_synced() && wrapper_get_seconds() - start < WRAPPER_WEB_SYNC_WAIT)
        wrapper_delay(0.01);
    mounted = web_saves_synced() == 1;
    if (mounted)
        lum_logf("saved files: IndexedDB at '%s'\n", folder.c_str());
    else
        lum_log("saved files: no IndexedDB, saves last only while the page is open");
    web_watch_page();
    web_capture_presses();
}

void wrapper_host_exit()
{
    web_show_ended();
}

bool wrapper_host_has_display()
{
    return true;
}

void wrapper_host_window_opened()
{
}

// The page's own events save at once, so nothing waits for the next tick; a new size the page
// asks for is taken once
int wrapper_host_poll()
{
    const int serial = web_fit_serial();
    if (serial == fit_serial)
        return WRAPPER_HOST_NOTHING;
    fit_serial = serial;
    return WRAPPER_HOST_RESIZE;
}

bool wrapper_host_size(int *w, int *h)
{
    *w = web_fit_w();
    *h = web_fit_h();
    return *w > 0 && *h > 0;
}

// A frame the loop finds equal to the one shown is not drawn, and the canvas keeps showing the
// last one drawn, until the canvas loses it
bool wrapper_host_take_redraw()
{
    return web_canvas_lost() != 0;
}

int wrapper_host_open_url(int, const char *url)
{
    web_open_tab(url);
    return 0;
}

// NOTE: Emscripten's fsync of a file in IndexedDB's folder copies the whole folder and sleeps
// until that is done, which a save started by the page's own event must not do; the file is
// copied when it replaces the old one instead
int wrapper_file_sync(int)
{
    return 0;
}

void wrapper_file_changed(const char *path)
{
    if (mounted)
        web_store_file(path);
}
