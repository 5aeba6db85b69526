# Everything goes through here: `make run` and `make test` set up a fresh
# Debian machine by themselves, and say what they are doing.

# Passed on to the program: make run ARGS='--query "code editor"'
ARGS ?=
PRESET ?= test

# Seconds for each fuzz target.
TIME ?= 60

.PHONY: run test bench fuzz lint package check-package check-release check-recipes check-sanitizers coverage screenshots build-tests

run:
	@scripts/run $(ARGS)

build-tests:
	@scripts/setup run test
	@scripts/build $(PRESET)

test: build-tests
	@echo "Running the tests: some minutes on two cores."
	@ctest --preset $(PRESET) --progress -j2

screenshots: build-tests
	@scripts/setup screenshots
	@scripts/screenshots

# Rounds of showing, typing and hiding, for what grows with time.
SOAK ?= 0

bench: build-tests
	@scripts/bench $(SOAK)

fuzz:
	@scripts/setup run fuzz
	@scripts/fuzz $(TIME)

lint:
	@scripts/setup run test lint
	@scripts/lint

package:
	@scripts/setup run package
	@scripts/package

check-package: package
	@scripts/setup check-package
	@scripts/check-package

# On a clean system of a Debian release: make check-release RELEASE=trixie
RELEASE ?= $(shell . /etc/os-release && echo $$VERSION_CODENAME)

check-release:
	@scripts/check-release $(RELEASE)

check-recipes:
	@scripts/setup run package check-recipes
	@scripts/check-recipes

check-sanitizers:
	@scripts/setup run test
	@scripts/check-sanitizers

coverage:
	@scripts/setup run test coverage
	@scripts/coverage
