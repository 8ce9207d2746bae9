# The whole set-up on a fresh Debian 12 machine: `make demo` and `make test`.

PACKAGES := g++ cmake make pkg-config qtbase5-dev libvips-dev fonts-dejavu-core libgtest-dev libgmock-dev libbenchmark-dev \
            pybind11-dev python3-dev python3-numpy python3-pytest python3-yaml dpkg-dev file
, := ,
JOBS     := $(shell nproc 2>/dev/null || echo 2)
SUDO     := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

BUILD_DIR := build/release
ASAN_DIR  := build/asan
TSAN_DIR  := build/tsan
BENCH_DIR := build/bench

CMAKE_CONFIGURE = cmake -S . -B $(1) -DCMAKE_BUILD_TYPE=$(2) $(3) >/dev/null

.PHONY: deps build package test test-asan test-tsan demo docs screenshot bench bench-peers bench-editor fuzz fuzz-deps clean

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

# The Python module is built for Debian's own interpreter, where the
# package installs it and where numpy and pytest come from.
build: deps
	$(call CMAKE_CONFIGURE,$(BUILD_DIR),Release,-DQUILLMERE_BUILD_PYTHON=ON -DPython3_EXECUTABLE=/usr/bin/python3)
	cmake --build $(BUILD_DIR) -j $(JOBS)

# build/release/quillmere_VERSION_amd64.deb
package: build
	cd $(BUILD_DIR) && cpack -G DEB >/dev/null
	@ls $(BUILD_DIR)/quillmere_*_amd64.deb

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)
	@$(MAKE) --no-print-directory package
	tests/install/check-package.sh $$(ls -t $(BUILD_DIR)/quillmere_*_amd64.deb | head -1)

test-asan: deps
	$(call CMAKE_CONFIGURE,$(ASAN_DIR),RelWithDebInfo,-DQUILLMERE_SANITIZE=address$(,)undefined$(,)float-cast-overflow)
	cmake --build $(ASAN_DIR) -j $(JOBS)
	cd $(ASAN_DIR) && UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 LSAN_OPTIONS=fast_unwind_on_malloc=0:print_suppressions=0:suppressions=$(CURDIR)/tests/lsan.supp ctest --output-on-failure -j $(JOBS)

# The renderer and threading tests under ThreadSanitizer.
test-tsan: deps
	$(call CMAKE_CONFIGURE,$(TSAN_DIR),RelWithDebInfo,-DQUILLMERE_SANITIZE=thread)
	cmake --build $(TSAN_DIR) -j $(JOBS)
	cd $(TSAN_DIR) && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:suppressions=$(CURDIR)/tests/tsan.supp ctest --output-on-failure -R '^(Renderer|RendererBands|Watermark|ParallelDispatch|Threading|TileGrid)\.'

# The fuzzers (clang's libFuzzer, everything under address and undefined-
# behaviour sanitizers), each for FUZZ_SECONDS. New inputs collect in
# build/fuzz/corpus; a crash leaves its input in build/fuzz/artifacts and
# fails the run: copy it to tests/fuzz/regressions/TARGET so that make test
# replays it from then on.
FUZZ_DIR      := build/fuzz
FUZZ_SECONDS  ?= 60
FUZZ_TARGETS  := xml_reader preset_reader preset_render image_load
FUZZ_PACKAGES := clang libclang-rt-14-dev

fuzz-deps: deps
	@$(MAKE) --no-print-directory deps PACKAGES="$(FUZZ_PACKAGES)"

fuzz: fuzz-deps
	CC=clang CXX=clang++ $(call CMAKE_CONFIGURE,$(FUZZ_DIR),RelWithDebInfo,-DQUILLMERE_FUZZ=ON)
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target make_fuzz_seeds $(addprefix fuzz_,$(FUZZ_TARGETS))
	@mkdir -p $(FUZZ_DIR)/seeds $(addprefix $(FUZZ_DIR)/corpus/,$(FUZZ_TARGETS)) $(addprefix $(FUZZ_DIR)/artifacts/,$(FUZZ_TARGETS))
	$(FUZZ_DIR)/tests/fuzz/make_fuzz_seeds $(FUZZ_DIR)/seeds $(FUZZ_DIR)/preset.dict
	@for target in $(FUZZ_TARGETS); do \
	  case $$target in image_load) extra="-max_len=200000";; \
	    *) extra="-max_len=65536 -dict=$(FUZZ_DIR)/preset.dict $(FUZZ_DIR)/seeds resources/Default?Presets";; esac; \
	  echo "== fuzzing $$target for $(FUZZ_SECONDS) s"; \
	  VIPS_CONCURRENCY=1 $(FUZZ_DIR)/tests/fuzz/fuzz_$$target -max_total_time=$(FUZZ_SECONDS) -timeout=20 -rss_limit_mb=3000 \
	    -print_final_stats=1 -artifact_prefix=$(FUZZ_DIR)/artifacts/$$target/ \
	    $(FUZZ_DIR)/corpus/$$target tests/fuzz/seeds/$$target tests/fuzz/regressions/$$target $$extra \
	    2>&1 | grep -E '^(stat::|==|SUMMARY|ERROR|artifact)|Done ' || exit 1; \
	  test -z "$$(ls $(FUZZ_DIR)/artifacts/$$target)" || { echo "fuzz_$$target found a fault"; exit 1; }; \
	done

DEMO_DIR    := demo-output
DEMO_PHOTO  := resources/samples/seeding.jpg
DEMO_PRESET := Warm Sunset

# Every preset over the sample photo as a contact sheet, and one preset at
# full size.
demo: build
	@mkdir -p $(DEMO_DIR)
	./$(BUILD_DIR)/quillmere thumbnails $(DEMO_PHOTO) --size 240x135 -o $(DEMO_DIR)/contact-sheet.png
	./$(BUILD_DIR)/quillmere apply --preset "$(DEMO_PRESET)" $(DEMO_PHOTO) -o $(DEMO_DIR)/seeding-warm-sunset.jpg

STYLES := Saloon,Plastic,Hipster,Wedding,Skater,Silver,Poolside,Mono,Matte,Magazine,Lolo,Italiano,Instant,Helga,Colorcross,Autochrome,1983,1974,1962,1958

# The pictures of the README, made from the sample photo.
docs: build
	./$(BUILD_DIR)/quillmere thumbnails $(DEMO_PHOTO) --size 240x135 -o docs/contact-sheet.jpg
	./$(BUILD_DIR)/quillmere thumbnails $(DEMO_PHOTO) --size 300x169 --columns 7 --presets "$(STYLES)" -o docs/styles.jpg
	./$(BUILD_DIR)/quillmere thumbnails $(DEMO_PHOTO) --size 240x135 --columns 7 --remix Lolo --steps 6 -o docs/remix.jpg

# The desktop editor on a virtual X screen, the sample photo open and one
# look chosen, as the README shows it.
SCREENSHOT_LOOK := 1983
screenshot: build
	@$(MAKE) --no-print-directory deps PACKAGES="xvfb xauth"
	xvfb-run -a -s "-screen 0 1400x1000x24" ./$(BUILD_DIR)/quillmere-editor \
	  --choose "$(SCREENSHOT_LOOK)" --screenshot docs/editor.png $(DEMO_PHOTO)

bench: deps
	$(call CMAKE_CONFIGURE,$(BENCH_DIR),Release,-DQUILLMERE_BUILD_BENCH=ON)
	cmake --build $(BENCH_DIR) -j $(JOBS)
	@echo "Benchmarks built in $(BENCH_DIR)/bench; run one with e.g. $(BENCH_DIR)/bench/bench_tone"

# The whole tool beside the vips command-line tools, as ratios and peak
# memory (see bench/README.md).
bench-peers: build
	@$(MAKE) --no-print-directory deps PACKAGES="libvips-tools time"
	bench/peers.sh $(ROUNDS)

# The editor's start, thumbnails and click times on the 24 MP photo.
bench-editor: build
	@$(MAKE) --no-print-directory deps PACKAGES="libvips-tools"
	bench/editor-timings.sh $(ROUNDS)

clean:
	rm -rf build $(DEMO_DIR)
