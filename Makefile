# The two commands of the README:
#   make demo   builds the library and runs the demo
#   make test   builds everything and runs all tests
# plus `make sanitize` (the tests under ASan + UBSan) and `make bench`.
.PHONY: demo test sanitize bench deps

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

bench: deps
	cmake --preset release
	cmake --build --preset release --target vekj_bench
	./build/release/bench/vekj_bench
