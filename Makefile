# The commands of the README; CMake does the work.
FILE ?= examples/data/earthquakes.csv
OUT ?=
PREFIX ?=
BENCH ?=
SECONDS ?= 60
SOAK ?=

.PHONY: help deps test-deps build import install uninstall test asan lint fuzz soak truth bench bench-instructions bench-programs format clean

help:
	@echo 'make import [FILE=in.csv] [OUT=out.gpkg]   install what is missing, build, import a file'
	@echo 'make build    build build/release/bin/orvane and AsciiReader.so'
	@echo 'make install [PREFIX=folder]   install in /usr/local as root, else in ~/.local; make uninstall removes'
	@echo 'make test     build everything and run every test'
	@echo 'make asan     the same tests under the address and undefined behaviour sanitizers'
	@echo 'make lint     format check and clang-tidy'
	@echo 'make fuzz [SECONDS=60]   every fuzz harness under libFuzzer for that time, and a table'
	@echo 'make soak [SOAK=load]     what takes hours, or parts of it: lint differential faults load memcheck threads fuzz'
	@echo 'make truth    compare every cell of imports with known files, report to docs/truth.md'
	@echo 'make bench    compare whole imports with other readers, report to bench/results'
	@echo 'make bench-instructions   instructions per row, with Callgrind'

deps:
	@scripts/install-deps

test-deps:
	@scripts/install-deps test

build: deps
	@cmake --preset release $(if $(VERBOSE),,--log-level=WARNING)
	@cmake --build --preset release --target orvane AsciiReader

import: build
	@build/release/bin/orvane import '$(FILE)' $(if $(OUT),'$(OUT)',)

install: build
	@scripts/install $(if $(PREFIX),'$(PREFIX)')

uninstall:
	@scripts/install --uninstall $(if $(PREFIX),'$(PREFIX)')

test: test-deps
	@cmake --preset release
	@cmake --build --preset release
	@ctest --preset release

asan: test-deps
	@cmake --preset asan
	@cmake --build --preset asan
	@ctest --preset asan

lint: deps
	@scripts/lint

fuzz: deps
	@scripts/fuzz $(SECONDS)

soak: deps
	@scripts/soak $(SOAK)

truth: build
	@scripts/truth

bench: bench-programs
	@bench/compare.py --save $(BENCH)

bench-instructions: bench-programs
	@bench/instructions.py $(BENCH)

bench-programs: deps
	@scripts/install-bench-deps
	@cmake --preset release --log-level=WARNING
	@cmake --build --preset release --target bench/all

format:
	@git ls-files '*.h' '*.inc' '*.cpp' | xargs clang-format-14 -i

clean:
	@rm -rf build
