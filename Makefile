# The two commands a newcomer needs: `make run` and `make test`. Both install what is missing first.
BUILD      ?= build
ASAN_BUILD ?= build-asan
FUZZ_BUILD ?= build-fuzz
JOBS       ?= $(shell nproc)
FUZZ_SECONDS ?= 20
GENERATOR  := $(shell command -v ninja >/dev/null 2>&1 && echo "-G Ninja")

.PHONY: all deps configure build run test unit asan fuzz bench clean

all: build

deps:
	@scripts/install-deps.sh

$(BUILD)/CMakeCache.txt:
	cmake -S . -B $(BUILD) $(GENERATOR) -DCMAKE_BUILD_TYPE=RelWithDebInfo

configure: deps $(BUILD)/CMakeCache.txt

build: configure
	cmake --build $(BUILD) -j $(JOBS)

run: build
	@scripts/run-samples.sh $(BUILD)

# Whole suite (unit, oracle, slow) on the normal build, then the unit tests again under
# AddressSanitizer and UndefinedBehaviorSanitizer.
test: build asan
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)
	ctest --test-dir $(ASAN_BUILD) -L unit --output-on-failure -j $(JOBS)

unit: build
	ctest --test-dir $(BUILD) -L unit --output-on-failure -j $(JOBS)

asan: deps
	cmake -S . -B $(ASAN_BUILD) $(GENERATOR) -DCMAKE_BUILD_TYPE=Debug -DPIXTRAIL_SANITIZE=ON -DPIXTRAIL_BENCH=OFF
	cmake --build $(ASAN_BUILD) -j $(JOBS)

# Each libFuzzer harness for FUZZ_SECONDS, starting from its seed corpus.
fuzz: deps
	CXX=clang++ cmake -S . -B $(FUZZ_BUILD) $(GENERATOR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPIXTRAIL_FUZZ=ON -DPIXTRAIL_TESTS=OFF
	cmake --build $(FUZZ_BUILD) -j $(JOBS)
	@scripts/run-fuzzers.sh $(FUZZ_BUILD) $(FUZZ_SECONDS)

bench: build
	@bench/run-benchmarks.sh $(BUILD)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD)
