# Convenience wrapper around CMake. `make run` builds the tool, reduces the bundled simulated
# nitrogen run to an isotherm and makes its BET report, then the DFT pore-size distribution
# of the bundled model carbon with the shipped nitrogen kernel; `make test` runs every
# suite (the Python package's pytest suite among them, when it is built), the installed-package consumer, the sanitizer build, the ThreadSanitizer build and
# a short fuzzing run.
BUILD      ?= build
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan
JOBS       ?= 2
STAGE      := $(CURDIR)/$(BUILD)/stage
EXAMPLE    ?= data/examples/n2_77k_run.json
CARBON     ?= data/examples/n2_77k_carbon.csv

.PHONY: all deps build run test test-unit test-python test-consumer test-sanitize test-tsan test-fuzz bench clean

all: build

deps:
	@scripts/install-deps

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release
	cmake --build $(BUILD) -j$(JOBS)

# Shows the BET report of the bundled example in the terminal and writes it as HTML.
run: build
	$(BUILD)/tools/fiofla/fiofla reduce $(EXAMPLE) -o $(BUILD)/isotherm.csv
	$(BUILD)/tools/fiofla/fiofla report $(EXAMPLE) --auto
	$(BUILD)/tools/fiofla/fiofla report $(EXAMPLE) --auto -o $(BUILD)/report.html
	$(BUILD)/tools/fiofla/fiofla dft $(CARBON) --kernel n2-77-carbon-slit
	$(BUILD)/tools/fiofla/fiofla report $(CARBON) --auto --kernel n2-77-carbon-slit -o $(BUILD)/carbon-report.html
	@echo "Open $(CURDIR)/$(BUILD)/report.html in a browser to see the report with its plots,"
	@echo "and $(CURDIR)/$(BUILD)/carbon-report.html for the model carbon's, with its DFT page."

test: test-unit test-consumer test-sanitize test-tsan test-fuzz

test-unit: build
	cd $(BUILD) && ctest --output-on-failure -j$(JOBS)

# The Python package's pytest suite alone, against the build tree (test-unit runs it too).
test-python: build
	cd $(BUILD) && ctest --output-on-failure -R python_tests

# Installs into a staging prefix and builds tests/consumer against it with find_package.
test-consumer: build
	cmake --install $(BUILD) --prefix $(STAGE)
	ctest --build-and-test tests/consumer $(BUILD)/consumer \
	  --build-generator "Unix Makefiles" \
	  --build-options -DCMAKE_PREFIX_PATH=$(STAGE) \
	  --test-command ctest --output-on-failure
	g++ -std=c++17 tests/consumer/main.cpp -o $(BUILD)/consumer/pkgconfig_consumer \
	  $$(PKG_CONFIG_PATH=$(STAGE)/lib/pkgconfig pkg-config --cflags --libs fiofla) \
	  -Wl,-rpath,$(STAGE)/lib
	env -u FIOFLA_GAS_DIR $(BUILD)/consumer/pkgconfig_consumer $(STAGE)/share/fiofla/examples/n2_77k_silica.csv
	# A moved prefix still works: the tool's run path and the gas-table lookup are relative.
	rm -rf $(BUILD)/moved-prefix && cp -a $(STAGE) $(BUILD)/moved-prefix
	env -u LD_LIBRARY_PATH -u FIOFLA_GAS_DIR $(BUILD)/moved-prefix/bin/fiofla report \
	  $(BUILD)/moved-prefix/share/fiofla/examples/n2_77k_run.json -o $(BUILD)/moved-prefix/report.html
	# So does the Python package installed beside the library, when it was built.
	py=$$(sed -n 's/^Python3_EXECUTABLE:FILEPATH=//p' $(BUILD)/CMakeCache.txt); \
	site=$$(ls -d $(CURDIR)/$(BUILD)/moved-prefix/lib/python3*/site-packages 2>/dev/null); \
	if [ -n "$$py" ] && [ -d "$$site/fiofla" ]; then \
	  cd / && env -u LD_LIBRARY_PATH -u FIOFLA_GAS_DIR PYTHONPATH=$$site "$$py" -c \
	    "import fiofla; print(fiofla.bet(fiofla.read_isotherm('$$site/../../../share/fiofla/examples/n2_77k_run.json'), range='auto'))"; \
	fi

test-sanitize: deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DFIOFLA_SANITIZE=ON -DFIOFLA_BUILD_BENCH=OFF
	cmake --build $(ASAN_BUILD) -j$(JOBS)
	cd $(ASAN_BUILD) && ctest --output-on-failure -j$(JOBS)

# Every suite under ThreadSanitizer, the documented thread pattern (tests/thread_test.cpp)
# among them; a data race fails it.
test-tsan: deps
	cmake -S . -B $(TSAN_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFIOFLA_TSAN=ON -DFIOFLA_BUILD_BENCH=OFF
	cmake --build $(TSAN_BUILD) -j$(JOBS)
	cd $(TSAN_BUILD) && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 ctest --output-on-failure -j$(JOBS)

# The gas-table and isotherm readers under libFuzzer (clang), briefly and with a fixed seed; for a long
# run: FUZZ_SECONDS=600 fuzz/run.sh
test-fuzz: deps
	fuzz/run.sh $(CURDIR)/build-fuzz

bench: build
	$(BUILD)/bench/bet_bench
	$(BUILD)/bench/gas_bench
	$(BUILD)/bench/pore_bench
	$(BUILD)/bench/io_bench
	$(BUILD)/bench/num_bench
	if [ -d $(BUILD)/python/fiofla ]; then cmake --build $(BUILD) --target python_bench; fi

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(TSAN_BUILD) build-fuzz
