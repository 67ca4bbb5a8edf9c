# Two commands do all the set-up on a fresh Debian machine:
#   make run    installs what is missing, builds and starts the intro
#   make test   installs what is missing, builds and runs the test suite
# and: make windows (cross-builds invitro.exe), make web (the browser build in
# build/web/site/), make serve (shows it on http://127.0.0.1:8000/), make web-test, make bench,
# make bench-web, make asan, make tsan, make assets (regenerates assets/ from tools/assets/).

PRESET ?= release
BUILD := build/$(PRESET)
PORT ?= 8000
# cmake builds with make underneath; its directory changes are noise here.
MAKEFLAGS += --no-print-directory

.PHONY: run test build checksums arm64 windows web serve web-test bench bench-web asan tsan assets dist clean

build:
	@scripts/deps.sh build
	@cmake --preset $(PRESET) >/dev/null
	@cmake --build --preset $(PRESET)

# Without a display the intro itself says so, with the Xvfb line to use instead.
run: build
	@$(BUILD)/app/invitro

test: build
	@scripts/deps.sh test
	@ctest --preset $(PRESET)

# Every frame of a capture cycle and the music renders against tests/checksums/.
checksums: build
	@scripts/checksums.sh

# The Linux arm64 cross build (build/arm64); ctest --preset arm64 and
# scripts/checksums.sh build/arm64 run its tests and outputs under qemu-aarch64.
arm64:
	@scripts/deps.sh arm64
	@cmake --preset arm64 >/dev/null
	@cmake --build --preset arm64

windows:
	@scripts/deps.sh windows
	@cmake --preset windows >/dev/null
	@cmake --build --preset windows
	@echo "built build/windows/app/invitro.exe"

# The browser build: the static site build/web/site/ (index.html, invitro.<hash>.js with
# the wasm inside, preview.png), which also runs opened as a file.
web:
	@scripts/deps.sh web
	@cmake --preset web >/dev/null
	@cmake --build --preset web
	@echo "built the site build/web/site/ ($$(ls build/web/site | tr '\n' ' ')); make serve shows it"

# Serves the site's files only, never the rest of the build folder.
serve: web
	@echo "invitro: open http://127.0.0.1:$(PORT)/ in a browser (Ctrl-C stops the server)"
	@python3 -m http.server $(PORT) --bind 127.0.0.1 --directory build/web/site

# In headless Chromium and Firefox; INVITRO_BROWSERS=chromium limits it to one.
web-test: web
	@scripts/deps.sh webtest
	@tests/web/run

bench-web: web build
	@scripts/deps.sh webtest
	@bench/web/run

# Every benchmark, then one summary table of their headline figures.
bench: build
	@scripts/deps.sh bench
	@bench/run $(BUILD)

asan:
	@scripts/deps.sh build
	@cmake --preset asan >/dev/null && cmake --build --preset asan && ctest --preset asan

tsan:
	@scripts/deps.sh build
	@cmake --preset tsan >/dev/null && cmake --build --preset tsan && ctest --preset tsan

# Regenerates everything in assets/ from the generators in tools/assets/ (each folder
# there has an executable `generate` that writes its outputs into assets/).
assets:
	@scripts/deps.sh assets
	@for g in tools/assets/*/generate; do echo "== $$g"; "$$g" || exit 1; done

clean:
	rm -rf build

# The release bundle: dist/invitro/ and dist/invitro.zip (the Windows and Linux
# intros, the web build once there is one, a screenshot, invitro.nfo, file_id.diz);
# make dist ARGS=--with-video adds the capture of one cycle as invitro.mp4.
.PHONY: dist
dist:
	@scripts/dist.sh $(ARGS)
