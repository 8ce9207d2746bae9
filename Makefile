# The whole set-up on a fresh Debian 12 machine: `make demo` and `make test`.

PACKAGES := g++ cmake make pkg-config qtbase5-dev fonts-dejavu-core libgtest-dev libgmock-dev libbenchmark-dev
, := ,
JOBS     := $(shell nproc 2>/dev/null || echo 2)
SUDO     := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

BUILD_DIR := build/release
ASAN_DIR  := build/asan
TSAN_DIR  := build/tsan
BENCH_DIR := build/bench

CMAKE_CONFIGURE = cmake -S . -B $(1) -DCMAKE_BUILD_TYPE=$(2) $(3) >/dev/null

.PHONY: deps build test test-asan test-tsan demo bench clean

# Installs only what is missing, so a second run costs one dpkg query.
deps:
	@missing=$$(for p in $(PACKAGES); do \
	    dpkg-query -W -f='$${Status}\n' $$p 2>/dev/null | grep -q 'install ok installed' || echo $$p; \
	  done); \
	if [ -n "$$missing" ]; then \
	  echo "Installing:" $$missing; \
	  $(SUDO) apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq --no-install-recommends $$missing >/dev/null; \
	fi

build: deps
	$(call CMAKE_CONFIGURE,$(BUILD_DIR),Release,)
	cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

test-asan: deps
	$(call CMAKE_CONFIGURE,$(ASAN_DIR),RelWithDebInfo,-DQUILLMERE_SANITIZE=address$(,)undefined)
	cmake --build $(ASAN_DIR) -j $(JOBS)
	cd $(ASAN_DIR) && UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 LSAN_OPTIONS=fast_unwind_on_malloc=0:print_suppressions=0:suppressions=$(CURDIR)/tests/lsan.supp ctest --output-on-failure -j $(JOBS)

# The renderer and threading tests under ThreadSanitizer.
test-tsan: deps
	$(call CMAKE_CONFIGURE,$(TSAN_DIR),RelWithDebInfo,-DQUILLMERE_SANITIZE=thread)
	cmake --build $(TSAN_DIR) -j $(JOBS)
	cd $(TSAN_DIR) && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:suppressions=$(CURDIR)/tests/tsan.supp ctest --output-on-failure -R '^(Renderer|ParallelDispatch|Threading|TileGrid)\.'

DEMO_DIR    := demo-output
DEMO_PHOTO  := resources/samples/seeding.jpg
DEMO_PRESET := Warm Sunset

# Every preset over the sample photo as a contact sheet, and one preset at
# full size.
demo: build
	@mkdir -p $(DEMO_DIR)
	./$(BUILD_DIR)/quillmere thumbnails $(DEMO_PHOTO) --size 240x135 -o $(DEMO_DIR)/contact-sheet.png
	./$(BUILD_DIR)/quillmere apply --preset "$(DEMO_PRESET)" $(DEMO_PHOTO) -o $(DEMO_DIR)/seeding-warm-sunset.jpg

bench: deps
	$(call CMAKE_CONFIGURE,$(BENCH_DIR),Release,-DQUILLMERE_BUILD_BENCH=ON)
	cmake --build $(BENCH_DIR) -j $(JOBS)
	@echo "Benchmarks built in $(BENCH_DIR)/bench; run one with e.g. $(BENCH_DIR)/bench/bench_tone"

clean:
	rm -rf build $(DEMO_DIR)
