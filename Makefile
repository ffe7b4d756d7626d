# SPDX-License-Identifier: GPL-3.0-or-later
# make run      installs what the programs need, builds them, runs the main job:
#               the window on the simulated board when there is a display,
#               else the CLI job
# make test     installs the test tools too, builds everything, runs every test
#               (then again under ASan/UBSan)
# make package  builds the Debian package into build/package
# make bench    builds and runs the benchmarks (JSON in build/bench.json)
# make fuzz     builds the readers' libFuzzer harnesses with clang and runs each
#               for FUZZ_SECONDS; a crash is saved into fuzz/corpus

BUILD      ?= build
ASAN_BUILD ?= build-asan
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 30
JOBS       ?= $(shell nproc)
CLI        := $(BUILD)/bin/quorvi2-cli
GUI        := $(BUILD)/bin/quorvi2

# Configures folder $(1) with options $(2). The generator is chosen as the
# recipe runs, after install-deps may have brought ninja, and a folder already
# configured keeps the one it was made with.
configure = cmake -S . -B $(1) $$(if [ ! -f $(1)/CMakeCache.txt ] && command -v ninja >/dev/null; then \
              echo -GNinja; fi) $(2)

.PHONY: all deps deps-test deps-package programs build build-asan test run package bench fuzz clean

all: programs

deps:
	@scripts/install-deps

deps-test:
	@scripts/install-deps --test

deps-package:
	@scripts/install-deps --package

# The programs only: this works without the test packages, and a folder that
# has the tests on keeps them.
programs: deps
	$(call configure,$(BUILD),-DCMAKE_BUILD_TYPE=RelWithDebInfo)
	cmake --build $(BUILD) -j $(JOBS) --target quorvi_programs

build: deps-test
	$(call configure,$(BUILD),-DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUORVI_BUILD_TESTS=ON -DQUORVI_BUILD_BENCH=ON)
	cmake --build $(BUILD) -j $(JOBS)

build-asan: deps-test
	$(call configure,$(ASAN_BUILD),-DCMAKE_BUILD_TYPE=Debug -DQUORVI_SANITIZE=ON -DQUORVI_BUILD_TESTS=ON)
	cmake --build $(ASAN_BUILD) -j $(JOBS)

test: build build-asan
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --test-dir $(ASAN_BUILD) --output-on-failure -j $(JOBS)

run: programs
	@if [ -n "$${DISPLAY:-}$${WAYLAND_DISPLAY:-}" ] && [ -x $(GUI) ]; then \
	  echo "$(GUI) --home $(BUILD)/run-home --port sim"; \
	  $(GUI) --home $(BUILD)/run-home --port sim; \
	else \
	  scripts/cli-demo $(BUILD)/bin $(BUILD)/run-home; \
	fi

package: deps-package programs
	cpack --config $(BUILD)/CPackConfig.cmake -B $(BUILD)/package

bench: deps-test
	$(call configure,$(BUILD),-DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUORVI_BUILD_BENCH=ON)
	cmake --build $(BUILD) -j $(JOBS) --target quorvi_bench
	$(BUILD)/bin/quorvi_bench --benchmark_out=$(BUILD)/bench.json --benchmark_out_format=json

fuzz: deps
	@command -v clang++ >/dev/null 2>&1 || \
	  { echo "make fuzz needs clang: apt-get install clang libclang-rt-dev" >&2; exit 1; }
	$(call configure,$(FUZZ_BUILD),-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++ \
	  -DQUORVI_FUZZ=ON -DQUORVI_BUILD_TESTS=OFF -DQUORVI_BUILD_BENCH=OFF -DQUORVI_BUILD_GUI=OFF)
	cmake --build $(FUZZ_BUILD) -j $(JOBS)
	scripts/run-fuzzers $(FUZZ_BUILD) $(FUZZ_SECONDS)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD)
