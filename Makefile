# Convenience targets over CMake. `make demo` and `make check` work from a
# clean clone on a fresh Debian machine.
BUILD ?= build
SAN_BUILD ?= build-sanitize
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: all deps deps-all build demo check check-normal check-sanitize golden-update bench \
	format format-check clean

all: build

deps:
	@bash tools/install-deps.sh

# The optional peers of the suite (R with psych and lavaan, Python with numpy
# and pandas, Chromium): tests that need one skip themselves when it is absent.
deps-all:
	@bash tools/install-deps.sh --all

$(BUILD)/CMakeCache.txt:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

# Builds the program alone, runs the bundled example (a fixed seed for its
# random start) and shows what the analysis found: the model summary, the
# rotated loadings and the factor correlations of its report.
demo: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) --target velquorin -j $(JOBS)
	cd examples/demo && ../../$(BUILD)/velquorin --seed 1 demo.in </dev/null
	@echo "--- examples/demo/demo.out: model, rotated loadings, factor correlations ---"
	@awk -f tools/report_sections.awk examples/demo/demo.out
	@echo "--- the whole report: examples/demo/demo.out ---"

# The packages of the optional tests, the format check of the tree, then the
# whole suite twice: in the normal build, and in the build with the address
# and undefined-behaviour sanitizers.
check: deps-all format-check check-normal check-sanitize

check-normal: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

$(SAN_BUILD)/CMakeCache.txt:
	cmake -S . -B $(SAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DVELQUORIN_SANITIZE=ON \
	  -DVELQUORIN_BENCH=OFF

check-sanitize: deps $(SAN_BUILD)/CMakeCache.txt
	cmake --build $(SAN_BUILD) -j $(JOBS)
	cd $(SAN_BUILD) && ctest --output-on-failure -j $(JOBS)

# Rewrites the expected outputs of every golden case from the current build
# (the run with one thread; a case whose runs with one and two threads differ
# is left as it was and makes the target fail). `ctest -L golden` only
# compares: nothing but this target passes --update to the runner.
golden-update: build
	@failed=0; for d in tests/golden/*/; do \
	  bash tests/golden/run_case.sh --update \
	    $(CURDIR)/$(BUILD)/velquorin $$d $(BUILD)/golden_work/$$(basename $$d) \
	    || failed=1; \
	done; \
	git status --short tests/golden; \
	exit $$failed

bench: build
	@for b in $(BUILD)/bench/*_bench; do [ -x $$b ] && $$b; done

SOURCES = find src tests bench tools -name '*.h' -o -name '*.cc'

format:
	$(SOURCES) | xargs clang-format -i

# Fails on the first source file that `make format` would change.
format-check: deps
	$(SOURCES) | xargs clang-format --dry-run -Werror

clean:
	rm -rf $(BUILD) $(SAN_BUILD)
