# The commands of the README; CMake does the work.
FILE ?= examples/data/earthquakes.csv
OUT ?=

.PHONY: help deps build import test asan lint format clean

help:
	@echo 'make import [FILE=in.csv] [OUT=out.gpkg]   install what is missing, build, import a file'
	@echo 'make build    build build/release/bin/orvane and AsciiReader.so'
	@echo 'make test     build everything and run every test'
	@echo 'make asan     the same tests under the address and undefined behaviour sanitizers'
	@echo 'make lint     format check and clang-tidy'

deps:
	@scripts/install-deps

build: deps
	@cmake --preset release $(if $(VERBOSE),,--log-level=WARNING)
	@cmake --build --preset release --target orvane AsciiReader

import: build
	@build/release/bin/orvane import '$(FILE)' $(if $(OUT),'$(OUT)',)

test: deps
	@cmake --preset release
	@cmake --build --preset release
	@ctest --preset release

asan: deps
	@cmake --preset asan
	@cmake --build --preset asan
	@ctest --preset asan

lint: deps
	@scripts/lint

format:
	@git ls-files '*.h' '*.inc' '*.cpp' | xargs clang-format-14 -i

clean:
	@rm -rf build
