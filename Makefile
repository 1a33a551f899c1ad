# The two commands of the README:
#   make demo   builds the library and runs the demo
#   make test   builds everything and runs all tests
# plus `make sanitize` (the tests under ASan + UBSan), `make fuzz` (each
# fuzz target for a fixed number of runs under the same sanitizers) and
# `make bench` (the kernel benchmarks) and `make race` (the example codec
# against TurboJPEG).
.PHONY: demo test sanitize fuzz bench race deps

deps:
	bash scripts/install-deps.sh

demo: deps
	cmake --preset release
	cmake --build --preset release --target vekj-jpeg
	./build/release/examples/vekj-jpeg demo out

test: deps
	cmake --preset release
	cmake --build --preset release
	ctest --preset release

sanitize: deps
	cmake --preset sanitize
	cmake --build --preset sanitize
	ctest --preset sanitize

fuzz: deps
	cmake --preset sanitize
	cmake --build --preset sanitize --target vekj_fuzz
	bash scripts/run-fuzzers.sh build/sanitize/fuzz 200000

bench: deps
	cmake --preset release
	cmake --build --preset release --target vekj_bench
	./build/release/bench/vekj_bench

race: deps
	cmake --preset release
	cmake --build --preset release --target vekj-bench
	./build/release/examples/vekj-bench jpeg
