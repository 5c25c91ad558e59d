# Lum Life: `make run` starts the toy, `make test` runs every test. CMake does the real work
# underneath; both first install whatever Debian packages are missing (tools/install-deps.sh).
BUILD ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: run test bench screenshot art sounds build deps clean

run: build
	@tools/run.sh $(BUILD)

test: build
	@cd $(BUILD) && ctest --output-on-failure --timeout 300 -j $(JOBS)

# Speed figures (Google Benchmark); never part of `make test`.
bench: build
	@for b in $(BUILD)/bench/*_bench; do echo "== $$b"; $$b || exit 1; done

# The README's screenshots, made in a virtual X display: docs/screenshot.png (landscape) and
# docs/screenshot-portrait.png (after F1), with a prepared grid in a temporary HOME.
screenshot: build
	@tools/run.sh $(BUILD) --screenshot docs/screenshot.png

# The toy's art: regenerates gfx/*.png and the contact sheet docs/art.png from assets/.
art: build
	@$(BUILD)/tools/artgen assets gfx docs/art.png

# The toy's sounds, rendered through its synthesiser: docs/sounds/*.wav, one per sound, and their
# waveforms and spectrograms in docs/sounds.png (labelled with the font from assets/); and the
# music test's tune, assets/tune.wav.
sounds: build
	@mkdir -p docs/sounds
	@rm -f docs/sounds/*.wav
	@$(BUILD)/tools/synthwav --all docs/sounds docs/sounds.png assets/font8x8.txt
	@$(BUILD)/tools/synthwav tune assets/tune.wav

build: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo --log-level=WARNING
	@cmake --build $(BUILD) -j $(JOBS)

deps:
	@tools/install-deps.sh

clean:
	rm -rf $(BUILD)
