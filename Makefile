# Two commands do all the set-up on a fresh Debian machine:
#   make run    installs what is missing, builds and starts the intro
#   make test   installs what is missing, builds and runs the test suite
# and: make windows (cross-builds invitro.exe), make bench, make asan, make tsan,
# make assets (regenerates assets/ from tools/assets/).

PRESET ?= release
BUILD := build/$(PRESET)

.PHONY: run test build checksums windows bench asan tsan assets clean

build:
	@scripts/deps.sh build
	@cmake --preset $(PRESET) >/dev/null
	@cmake --build --preset $(PRESET)

run: build
	@if [ -z "$$DISPLAY" ] && [ -z "$$WAYLAND_DISPLAY" ]; then \
	  echo "make run: there is no display (DISPLAY is not set). Start the intro from a desktop session,"; \
	  echo "or under a virtual one: Xvfb :9 -screen 0 640x480x16 & DISPLAY=:9 make run"; exit 1; fi
	@$(BUILD)/app/invitro

test: build
	@ctest --preset $(PRESET)

# Every frame of a capture cycle and the music renders against tests/checksums/.
checksums: build
	@scripts/checksums.sh

windows:
	@scripts/deps.sh windows
	@cmake --preset windows >/dev/null
	@cmake --build --preset windows
	@echo "built build/windows/app/invitro.exe"

bench: build
	@for b in $(BUILD)/bench/*/bench_*; do [ -x "$$b" ] && "$$b" --benchmark_min_time=0.2; done

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
