# Front door. `make demo` runs the quick-start export job and a CSV-like
# export, and shows the start of the files they wrote; `make test` runs the
# whole suite, then again under AddressSanitizer and UBSan.
JOBS ?= 2
STAGE := build/stage

.PHONY: all setup build release demo test test-dev test-asan fuzz bench clean

all: build

setup:
	@tools/install-deps.sh

build: setup
	cmake --preset dev >/dev/null
	cmake --build --preset dev -j $(JOBS)

demo: build
	$(STAGE)/bin/buhost run examples/quickstart.toml --show-log
	@for f in $(STAGE)/out/quickstart-*.txt; do echo "--- $$f"; head -n 5 "$$f"; done
	$(STAGE)/bin/buhost run examples/sales-delimited.toml
	@echo "--- $(STAGE)/out/sales.csv"; head -n 5 $(STAGE)/out/sales.csv

test: test-dev test-asan

test-dev: build
	ctest --preset dev

test-asan: setup
	cmake --preset asan >/dev/null
	cmake --build --preset asan -j $(JOBS)
	ctest --preset asan

# Fuzz campaigns (clang, libFuzzer): not part of `make test`.
fuzz: setup
	cmake --preset fuzz >/dev/null
	cmake --build --preset fuzz -j $(JOBS)
	ctest --preset fuzz

# The optimised build, warnings as errors like the others; CI builds it so the
# benchmarks always build.
release: setup
	cmake --preset release >/dev/null
	cmake --build --preset release -j $(JOBS)

bench: release
	tools/run-benchmarks.sh build/release

clean:
	rm -rf build
