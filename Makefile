# The front door. What each target does is in scripts/; the build itself is CMake's (see CMakePresets.json).
.PHONY: help setup demo test bench install format lint docs
help:
	@echo "make setup    install the Debian packages that are missing"
	@echo "make demo     build, send records between two processes, ask one whether it is there"
	@echo "make test     everything that decides whether a change may land"
	@echo "make bench    benchmarks, as ratios measured side by side"
	@echo "make install  build and install (PREFIX=/usr/local, DESTDIR=)"
	@echo "make format   format the sources"
setup:
	@scripts/setup.sh
demo: setup
	@scripts/demo.sh
test: setup
	@scripts/test.sh
bench: setup
	@scripts/bench.sh
install: setup
	@scripts/install.sh
format:
	@scripts/format.sh
lint: setup
	@scripts/lint.sh
