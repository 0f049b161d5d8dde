# Two doors: `make run` opens the picker, `make test` runs every test. Each installs what is missing, configures and builds.

SHELL := /bin/bash
JOBS ?= $(shell nproc)
PACKAGES := $(shell grep -v '^\#' packages.txt)
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)
CTEST := ctest --output-on-failure --timeout 300
# The targets that build all of a preset are named after it.
BUILD_ALL = cmake --preset $@ && cmake --build --preset $@ -j$(JOBS)
# A graphics driver is loaded and unloaded at will, and its leaks and races then bear no names that could be excused.
WITHOUT_DRIVER := QT_QUICK_BACKEND=software QT_XCB_GL_INTEGRATION=none

.PHONY: run program test build bench asan tsan tidy format install packages clean

run: program
	@tools/run-picker.sh

# What the picker needs and no more. Ninja itself configures anew when a build file changed.
program: packages
	@[ -f build/release/build.ninja ] || cmake --preset release
	@cmake --build --preset release -j$(JOBS) --target tlx-media-picker tlx-sample-library

# The core build first: it proves that tlx/ needs the standard library alone.
test: packages
	cmake --preset core
	cmake --build --preset core -j$(JOBS)
	cd build/core && $(CTEST) -j$(JOBS)
	cmake --preset release
	cmake --build --preset release -j$(JOBS)
	cd build/release && $(CTEST) -j$(JOBS)

build: packages
	cmake --preset release
	cmake --build --preset release -j$(JOBS)

bench: build
	@tools/run-benchmarks.sh build/release/bin

# The windows' program unloads decoders' plugins as it ends, and with them the names by which their leaks could be told
# from ours: leaks are looked for in the other tests.
asan: packages
	$(BUILD_ALL)
	cd build/asan && export LSAN_OPTIONS=suppressions=$(CURDIR)/tests/support/lsan.supp UBSAN_OPTIONS=print_stacktrace=1 \
	  $(WITHOUT_DRIVER) ASAN_OPTIONS=detect_stack_use_after_return=1 && \
	  $(CTEST) -j$(JOBS) -E '^(Cloud)?Window\.' && ASAN_OPTIONS=$$ASAN_OPTIONS:detect_leaks=0 $(CTEST) -R '^(Cloud)?Window\.'

tsan: packages
	$(BUILD_ALL)
	cd build/tsan && TSAN_OPTIONS=ignore_noninstrumented_modules=1:suppressions=$(CURDIR)/tests/support/tsan.supp $(WITHOUT_DRIVER) \
	  $(CTEST) -j$(JOBS)

tidy: PACKAGES += clang-14 clang-tidy-14
tidy: packages
	$(BUILD_ALL)

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format-14 -i

install: program
	cmake --install build/release

# Asks the package database, not the network, and that once, so that a second run costs nothing.
packages:
	@missing=$$(comm -23 <(printf '%s\n' $(PACKAGES) | sort -u) \
	  <(dpkg-query -W -f='$${db:Status-Status} $${Package}\n' $(PACKAGES) 2>/dev/null | sed -n 's/^installed //p' | sort)); \
	if [ -n "$$missing" ]; then \
	  echo "Installing:" $$missing; \
	  $(SUDO) apt-get update -q && \
	  $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get install -qy --no-install-recommends $$missing; \
	fi

clean:
	rm -rf build
