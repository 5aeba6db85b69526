# Everything goes through here: `make run` and `make test` set up a fresh
# Debian 12 machine by themselves, and say what they are doing.

# Passed on to the program: make run ARGS='--query "code editor"'
ARGS ?=
PRESET ?= test

# Seconds for each fuzz target.
TIME ?= 60

.PHONY: run test bench fuzz lint package check-package check-sanitizers coverage screenshots check-compositors build-tests

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

check-compositors: build-tests
	@scripts/setup check-compositors
	@scripts/check-compositors --pictures docs/screenshots/compositors

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

check-sanitizers:
	@scripts/setup run test
	@scripts/check-sanitizers

coverage:
	@scripts/setup run test coverage
	@scripts/coverage
