# The two commands: `make test` and `make demo`. Both set up a fresh Debian 12 machine first.
BUILD ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_FLAGS ?=
# Our own builds treat warnings as errors; a consumer building with plain cmake does not.
WERROR ?= ON

.PHONY: all deps configure build test demo sanitize format-check fuzz clean

all: build

deps:
	@bash scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD) -DZEL_WERROR=$(WERROR) $(CMAKE_FLAGS) > /dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

test: build
	@ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

demo: build
	@bash scripts/demo.sh $(BUILD)

# The sanitizer runs: `make sanitize SAN=address,undefined` or `make sanitize SAN=thread`.
SAN ?= address,undefined
sanitize: deps
	@cmake -S . -B build-$(subst $(comma),-,$(SAN)) -DZEL_SANITIZE=$(SAN) -DZEL_WERROR=$(WERROR) -DZEL_BUILD_BENCH=OFF $(CMAKE_FLAGS) > /dev/null
	@cmake --build build-$(subst $(comma),-,$(SAN)) -j $(JOBS)
	@ctest --test-dir build-$(subst $(comma),-,$(SAN)) --output-on-failure -j $(JOBS)

comma := ,

# Every tracked source as the committed .clang-format has it; lists what differs and fails.
format-check: deps
	@git ls-files -z '*.h' '*.cpp' | xargs -0 clang-format --dry-run --Werror

# The fuzz targets, built with clang and libFuzzer in build-fuzz, each run FUZZ_SECONDS on its corpus.
# New inputs go to build-fuzz/corpus; a failing one is saved as build-fuzz/<target>-crash-*.
FUZZ_SECONDS ?= 20
FUZZ_TARGETS := controlxml recordbinary envelope processorconfig
fuzz:
	@bash scripts/install-deps.sh fuzz
	@cmake -S . -B build-fuzz -DCMAKE_CXX_COMPILER=clang++-14 -DZEL_FUZZ=ON -DZEL_SANITIZE=address,undefined \
		-DZEL_BUILD_TESTS=OFF -DZEL_BUILD_BENCH=OFF -DZEL_BUILD_EXAMPLES=OFF $(CMAKE_FLAGS) > /dev/null
	@cmake --build build-fuzz -j $(JOBS) --target fuzzers
	@for t in $(FUZZ_TARGETS); do \
		mkdir -p build-fuzz/corpus/$$t && \
		build-fuzz/bin/fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -artifact_prefix=build-fuzz/$$t- \
			build-fuzz/corpus/$$t fuzz/corpus/$$t || exit 1; \
	done

clean:
	@rm -rf $(BUILD)
