# The two commands: `make test` and `make demo`. Both set up a fresh Debian 12 machine first.
BUILD ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_FLAGS ?=

.PHONY: all deps configure build test demo sanitize clean

all: build

deps:
	@bash scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD) $(CMAKE_FLAGS) > /dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

test: build
	@ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

demo: build
	@bash scripts/demo.sh $(BUILD)

# The sanitizer runs: `make sanitize SAN=address,undefined` or `make sanitize SAN=thread`.
SAN ?= address,undefined
sanitize: deps
	@cmake -S . -B build-$(subst $(comma),-,$(SAN)) -DZEL_SANITIZE=$(SAN) -DZEL_BUILD_BENCH=OFF $(CMAKE_FLAGS) > /dev/null
	@cmake --build build-$(subst $(comma),-,$(SAN)) -j $(JOBS)
	@ctest --test-dir build-$(subst $(comma),-,$(SAN)) --output-on-failure -j $(JOBS)

comma := ,

clean:
	@rm -rf $(BUILD)
