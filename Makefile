# The README's commands. `make test` and `make demo` work on a fresh Debian bookworm machine as root.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= 2

.PHONY: all deps configure build test demo demo-wayland bench fuzz package screenshots format clean

all: build

deps:
	scripts/setup-deps

configure: deps
	cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DORVANE_WERROR=ON

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS) --timeout 600

demo: build
	scripts/demo

# The same demo recorded in a headless Wayland session through the desktop portal.
demo-wayland: build
	scripts/demo-wayland

# Each program prints its figures against a baseline measured in the same run. The capture benchmark
# takes a few minutes (its drift run is two minutes; pass --long-seconds 600 for ten).
bench: build
	$(BUILD_DIR)/bench/orvane-bench
	$(BUILD_DIR)/bench/orvane-telemetry-bench
	$(BUILD_DIR)/bench/orvane-http-bench
	$(BUILD_DIR)/bench/orvane-capture-bench
	$(BUILD_DIR)/bench/orvane-wayland-capture-bench
	$(BUILD_DIR)/bench/orvane-startup-bench
	$(BUILD_DIR)/bench/orvane-picker-bench
	$(BUILD_DIR)/bench/orvane-timeline-bench
	$(BUILD_DIR)/bench/orvane-preview-bench
	$(BUILD_DIR)/bench/orvane-media-cache-bench
	$(BUILD_DIR)/bench/orvane-version-history-bench
	$(BUILD_DIR)/bench/orvane-inspector-drag-bench

# A picture of every surface of the desktop application in docs/screenshots/, on a private X server.
screenshots: build
	scripts/screenshots docs/screenshots

fuzz:
	scripts/run-fuzzers

# A .deb of the program, its desktop entry, icons and resources, in $(BUILD_DIR).
package: build
	cd $(BUILD_DIR) && cpack -G DEB

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD_DIR)
