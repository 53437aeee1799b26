# The two commands a newcomer needs: `make run` and `make test`. Both install what is missing first.
BUILD      ?= build
ASAN_BUILD ?= build-asan
FUZZ_BUILD ?= build-fuzz
WIN_BUILD  ?= build-windows
WIN32_BUILD ?= build-windows32
# The Windows tests still failing under wine are labelled windows-pending.
WINDOWS_CTEST ?= -LE windows-pending
JOBS       ?= $(shell nproc)
FUZZ_SECONDS ?= 20
GENERATOR  := $(shell command -v ninja >/dev/null 2>&1 && echo "-G Ninja")

.PHONY: all deps configure build run test unit asan fuzz bench clean windows windows32 windows-test windows-test-all

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
# The Windows build (`make windows-test`, `make windows32`) is a CI step of its own (.ci/run): it
# compiles everything a second time.
test: build asan
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)
	ctest --test-dir $(ASAN_BUILD) -L unit --output-on-failure -j $(JOBS)

# 64-bit Windows: library, pixtrail.exe and the unit tests, cross-compiled with mingw-w64. The
# Linux program is built first: a test compares the two programs' output.
windows: build
	scripts/build-windows-deps.sh x86_64-w64-mingw32 $(WIN_BUILD)/deps
	cmake -S . -B $(WIN_BUILD) $(GENERATOR) -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake \
	  -DCMAKE_BUILD_TYPE=Release -DPIXTRAIL_BENCH=OFF -DPIXTRAIL_NATIVE_CLI=$(CURDIR)/$(BUILD)/pixtrail
	cmake --build $(WIN_BUILD) -j $(JOBS)

# The unit tests, serial line and same-output checks under wine (headless, prefix in the build).
windows-test: windows
	scripts/wine-run.sh $(CURDIR)/$(WIN_BUILD)/wineprefix --start
	ctest --test-dir $(WIN_BUILD) --output-on-failure -j $(JOBS) $(WINDOWS_CTEST); \
	  status=$$?; scripts/wine-run.sh $(CURDIR)/$(WIN_BUILD)/wineprefix --stop || true; exit $$status

# Every Windows test, the ones still failing under wine included.
windows-test-all:
	$(MAKE) windows-test WINDOWS_CTEST=

# 32-bit Windows: the program must keep compiling for it.
windows32: deps
	scripts/build-windows-deps.sh i686-w64-mingw32 $(WIN32_BUILD)/deps
	cmake -S . -B $(WIN32_BUILD) $(GENERATOR) -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-i686.cmake \
	  -DCMAKE_BUILD_TYPE=Release -DPIXTRAIL_BENCH=OFF -DPIXTRAIL_TESTS=OFF
	cmake --build $(WIN32_BUILD) -j $(JOBS) --target pixtrail

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
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD) $(WIN_BUILD) $(WIN32_BUILD)
