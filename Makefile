# Entry points for people and CI. Everything configures into build/ (tests, demo)
# or build-bench/ (optimised benchmarks); scripts/install-deps.sh adds missing
# Debian packages first.
BUILD_DIR   ?= build
BENCH_DIR   ?= build-bench
BUILD_TYPE  ?= RelWithDebInfo
PREFIX      ?= /usr/local
WERROR      ?= OFF
JOBS        ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_FLAGS ?=

# Compiler-cache entries keyed on paths relative to the checkout, so that every clone of
# the project shares them.
export CCACHE_BASEDIR := $(CURDIR)
MAKEFLAGS += --no-print-directory

.PHONY: all deps configure build test demo install bench fuzz test-sanitize coverage clean

ASAN_DIR    ?= build-asan
TSAN_DIR    ?= build-tsan
COV_DIR     ?= build-cov
FUZZ_SECONDS ?= 60

all: build

deps:
	@scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) \
	  -DQUORVEX_WERROR=$(WERROR) -DCMAKE_INSTALL_PREFIX=$(PREFIX) $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

demo: build
	@$(BUILD_DIR)/tools/quorvex/quorvex demo --out out/

install: build
	@cmake --install $(BUILD_DIR) --prefix $(PREFIX)

bench: deps
	@cmake -S . -B $(BENCH_DIR) -DCMAKE_BUILD_TYPE=Release -DQUORVEX_BUILD_BENCH=ON \
	  -DQUORVEX_BUILD_TESTS=OFF $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(BENCH_DIR) -j $(JOBS)
	@mkdir -p $(BUILD_DIR)/bench
	@scripts/run-benchmarks.sh $(BENCH_DIR) $(BUILD_DIR)/bench

# One clang build serves both the sanitized suite and the fuzz targets: everything gets
# AddressSanitizer, UndefinedBehaviorSanitizer and the fuzzer's coverage, and only the fuzz
# targets link the fuzzer driver.
SANITIZE_PACKAGES := clang libclang-rt-14-dev libomp-14-dev
define configure_asan
	@scripts/install-deps.sh $(SANITIZE_PACKAGES)
	@CC=clang CXX=clang++ cmake -S . -B $(ASAN_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DQUORVEX_WERROR=$(WERROR) -DQUORVEX_SANITIZE=address,undefined -DQUORVEX_FUZZ=ON \
	  $(CMAKE_FLAGS) >/dev/null
endef

# The whole suite under AddressSanitizer and UndefinedBehaviorSanitizer, then the
# concurrency tests under ThreadSanitizer.
test-sanitize: deps
	$(configure_asan)
	@cmake --build $(ASAN_DIR) -j $(JOBS)
	@cd $(ASAN_DIR) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  LSAN_OPTIONS=suppressions=$(CURDIR)/scripts/lsan.supp \
	  ctest --output-on-failure -j $(JOBS) -E '^package_consumer$$'
	@cmake -S . -B $(TSAN_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUORVEX_WERROR=$(WERROR) \
	  -DQUORVEX_SANITIZE=thread -DQUORVEX_BUILD_TOOLS=OFF $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(TSAN_DIR) -j $(JOBS) --target test_concurrency
	@cd $(TSAN_DIR) && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
	  ctest --output-on-failure -R '^Concurrency'

# Each fuzz target for FUZZ_SECONDS under ASan and UBSan, with a memory limit (clang),
# JOBS targets at a time.
fuzz: deps
	$(configure_asan)
	@cmake --build $(ASAN_DIR) -j $(JOBS) --target fuzz_targets
	@scripts/run-fuzz.sh $(ASAN_DIR)/fuzz $(FUZZ_SECONDS) $(JOBS)

# Line coverage of the libraries by the whole suite (gcc --coverage, reported by gcovr).
coverage: deps
	@scripts/install-deps.sh gcovr
	@JOBS=$(JOBS) scripts/coverage.sh $(COV_DIR) "" --print-summary

clean:
	@rm -rf $(BUILD_DIR) $(BENCH_DIR) $(ASAN_DIR) $(TSAN_DIR) $(COV_DIR) out
