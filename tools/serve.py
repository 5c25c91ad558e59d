#!/usr/bin/env python3
"""serve: the browser build served on this machine only (`make serve`).

    tools/serve.py FOLDER PORT

Serves FOLDER on http://127.0.0.1:PORT/ and prints that address; Ctrl-C ends it. It also ends
when the program that started it ends (make, or a test), so that no server is left behind.
"""

import ctypes
import functools
import http.server
import signal
import sys

PR_SET_PDEATHSIG = 1  # prctl's option: the signal a process gets when its parent ends


class Handler(http.server.SimpleHTTPRequestHandler):
    # WebAssembly must come as application/wasm for the browser to compile it while loading; the
    # page's manifest has a type of its own too
    extensions_map = {**http.server.SimpleHTTPRequestHandler.extensions_map, ".wasm": "application/wasm",
                      ".webmanifest": "application/manifest+json"}


def main():
    folder, port = sys.argv[1], int(sys.argv[2])
    try:
        ctypes.CDLL("libc.so.6", use_errno=True).prctl(PR_SET_PDEATHSIG, signal.SIGTERM)
    except OSError:
        pass
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
    server = http.server.ThreadingHTTPServer(("127.0.0.1", port), functools.partial(Handler, directory=folder))
    print("Lum Life: http://127.0.0.1:%d/" % server.server_address[1], flush=True)
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass
    return 0


if __name__ == "__main__":
    sys.exit(main())
