# What one does with the repository; `cmake --list-presets` shows the builds beneath.

.PHONY: demo test bench format docs setup clean

jobs := $(shell nproc)

demo: setup
	@cmake --preset demo >/dev/null
	cmake --build --preset demo --parallel $(jobs)
	build/demo/examples/demo data/penguins.csv
	build/demo/examples/groups data/penguins.csv
	build/demo/examples/filters data/astronaut.png build/demo/picture.png build/demo/series.png

test: setup
	@scripts/test.sh

bench:
	@scripts/setup.sh --bench
	@cmake --preset host >/dev/null
	cmake --build --preset host --parallel $(jobs) --target benchmarks
	@test -d build/bench-venv || python3 -m venv build/bench-venv
	@build/bench-venv/bin/pip install -q --upgrade numpy scipy pandas boost-histogram fast-histogram \
	    opencv-python-headless pillow
	build/bench-venv/bin/python scripts/bench_compare.py build/host

format:
	@scripts/setup.sh --ci
	@scripts/format.sh

docs:
	@scripts/setup.sh --docs
	@scripts/docs.sh

setup:
	@scripts/setup.sh

clean:
	rm -rf build
