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

.PHONY: all deps configure build test demo install bench clean

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

clean:
	@rm -rf $(BUILD_DIR) $(BENCH_DIR) out
