# Lum Life: `make run` starts the toy, `make test` runs every test. CMake does the real work
# underneath; each first installs whatever Debian packages it needs and are missing
# (tools/install-deps.sh).
BUILD ?= build
WEB_BUILD ?= build-web
# The address `make serve` serves the browser build on
WEB_PORT ?= 8000
FUZZ_BUILD ?= $(BUILD)/fuzz
FUZZ_SECONDS ?= 300
FUZZ_TARGETS ?= settings rule wave atlas pattern
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
# `make check` runs one test more than there are processors: the threads tests spend most of their
# seconds asleep, waiting for real time to pass
CHECK_JOBS ?= $(shell echo $$(( $(JOBS) + 1 )))
# Where `make install` puts the toy; DESTDIR, when given, is put in front of it (staged installs)
PREFIX ?= /usr/local
DESTDIR ?=

# A configure that leaves the choice of tests and benchmarks as it is: off in a new build folder
# (the project's defaults), on once `make test` or `make bench` has turned them on
CONFIGURE = cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo --log-level=WARNING
# The tests' build folder, when new, is made for Ninja, which builds the many test executables
# and finds nothing to do faster than make; a folder made earlier keeps its generator
GENERATOR = $(if $(wildcard $(BUILD)/CMakeCache.txt),,-G Ninja)

.PHONY: run test check bench web serve web-figures fuzz fuzz-seeds screenshot art sounds build install uninstall package deps clean

# Only what running needs: the toy, and the screenshot tool for a machine without a display
run:
	@tools/install-deps.sh run
	@$(CONFIGURE)
	@cmake --build $(BUILD) -j $(JOBS) --target lumlife lumshot
	@tools/run.sh $(BUILD)

test: build
	@cd $(BUILD) && ctest --output-on-failure --timeout 300 -j $(JOBS)

# The fast loop: builds the unit tier alone (no display, no sound device, no network) and runs it
# (`ctest -L unit`; tests/README.md lists the tiers), each executable's tests in one process
# where they may share one; `make test` runs every unit test in a process of its own
check:
	@tools/install-deps.sh check
	@cmake -S . -B $(BUILD) $(GENERATOR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUM_BUILD_TESTS=ON --log-level=WARNING
	@cmake --build $(BUILD) -j $(JOBS) --target unit_tests
	@cd $(BUILD) && LUM_TEST_SHARE=1 ctest -L unit --output-on-failure --timeout 300 -j $(CHECK_JOBS)

# Speed figures (Google Benchmark); never part of `make test`.
bench: build
	@for b in $(BUILD)/bench/*_bench; do echo "== $$b"; $$b || exit 1; done

# The toy for the browser, compiled with Emscripten into $(WEB_BUILD): index.html, lumlife.js,
# lumlife.wasm and lumlife.data (dist/web). Debian's Emscripten finds its JavaScript modules only
# through NODE_PATH.
web:
	@tools/install-deps.sh web
	@NODE_PATH=/usr/share/nodejs emcmake cmake -S . -B $(WEB_BUILD) -DCMAKE_BUILD_TYPE=Release --log-level=WARNING >/dev/null
	@NODE_PATH=/usr/share/nodejs cmake --build $(WEB_BUILD) -j $(JOBS)

# The browser build served on this machine only; open the address it prints
serve: web
	@exec tools/serve.py $(WEB_BUILD) $(WEB_PORT)

# The browser build's download size, time to the first frame and frames a second in headless
# Chromium, and the README's screenshot of it, docs/screenshot-browser.png
web-figures: web
	@tools/install-deps.sh test
	@tools/web-figures.py $(WEB_BUILD) docs/screenshot-browser.png

# The fuzz targets (tests/fuzz), built with clang in $(FUZZ_BUILD): each runs for FUZZ_SECONDS
# (5 minutes by default). `make test` runs each for a bounded number of inputs.
fuzz: deps
	@tools/fuzz.sh build $(FUZZ_BUILD)
	@for t in $(FUZZ_TARGETS); do echo "== fuzz_$$t"; tools/fuzz.sh timed $(FUZZ_BUILD) $$t $(FUZZ_SECONDS) || exit 1; done

# The fuzz targets' seed corpora in tests/fuzz/corpus, made from the project's own files.
fuzz-seeds:
	@tools/fuzz-seeds.py

# The README's screenshots, made in a virtual X display: docs/screenshot.png (landscape) and
# docs/screenshot-portrait.png (after F1), with a prepared grid in a temporary HOME.
screenshot: build
	@tools/run.sh $(BUILD) --screenshot docs/screenshot.png

# The toy's art: regenerates gfx/*.png, the contact sheet docs/art.png and the application's
# icons in dist/ from assets/.
art: build
	@$(BUILD)/tools/artgen assets gfx docs/art.png dist

# The toy's sounds, rendered through its synthesiser: docs/sounds/*.wav, one per sound, and their
# waveforms and spectrograms in docs/sounds.png (labelled with the font from assets/); and the
# music test's tune, assets/tune.wav.
sounds: build
	@mkdir -p docs/sounds
	@rm -f docs/sounds/*.wav
	@$(BUILD)/tools/synthwav --all docs/sounds docs/sounds.png assets/font8x8.txt
	@$(BUILD)/tools/synthwav tune assets/tune.wav

# Everything: the toy, the tools, the tests and the benchmarks
build: deps
	@cmake -S . -B $(BUILD) $(GENERATOR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUM_BUILD_TESTS=ON -DLUM_BUILD_BENCH=ON \
	  --log-level=WARNING
	@cmake --build $(BUILD) -j $(JOBS)

# The toy as a desktop program under PREFIX: the executable, its images, the `lumlife` launcher,
# the menu entry, the icons, the AppStream metainfo and the manual page (dist/CMakeLists.txt).
# CMake lists what it installed in $(BUILD)/install_manifest.txt; `make uninstall` removes
# exactly that, and the folders the installation made.
install:
	@tools/install-deps.sh run
	@$(CONFIGURE)
	@cmake --build $(BUILD) -j $(JOBS) --target lumlife
	@DESTDIR="$(DESTDIR)" cmake --install $(BUILD) --prefix $(PREFIX)

uninstall:
	@DESTDIR="$(DESTDIR)" tools/uninstall.sh $(BUILD)

# The Debian package $(BUILD)/lumlife_<version>_<arch>.deb, made by CPack (dist/CMakeLists.txt)
package:
	@tools/install-deps.sh package
	@$(CONFIGURE)
	@cmake --build $(BUILD) -j $(JOBS) --target lumlife
	@cd $(BUILD) && cpack -G DEB

deps:
	@tools/install-deps.sh test

clean:
	rm -rf $(BUILD) $(WEB_BUILD)
