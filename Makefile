# The short way in. Everything goes through the presets of CMakePresets.json; build/<preset> holds the results.
PRESET ?= release
BUILD := build/$(PRESET)

.PHONY: build demo gallery schemas package test test-studio studio-deps torture bench figures fuzz clean

build: $(BUILD)/build.ninja
	cmake --build $(BUILD)

demo: $(BUILD)/build.ninja
	cmake --build $(BUILD) --target product
	rm -rf demo
	mkdir demo
	$(BUILD)/app/cli/vorlin render scenes/ribbon.json -o demo/ribbon.####.png --over layer
	$(BUILD)/app/cli/vorlin sheet demo/ribbon.####.png -o demo/ribbon_sheet.png
	@echo
	@echo "90 frames:       demo/ribbon.0000.png to demo/ribbon.0089.png"
	@echo "contact sheet:   demo/ribbon_sheet.png"
	@echo "Draw your own:   $(BUILD)/app/cli/vorlin studio"

# The pictures of docs/looks.md and the README, at the moment each scene looks best, and those of docs/controls.md.
LOOKS := glass-thread honey ink lava mercury neon
# Looks without a scene of their own, and what they are written on.
WRITTEN := chrome:studio crayon:paper paint:white water:meadow
gallery: $(BUILD)/build.ninja studio-deps
	cmake --build $(BUILD) --target vorlin vorlin_effect
	set -e; for look in $(LOOKS) $(WRITTEN); do name=$${look%:*}; \
	  case $$look in *:*) what="scenes/$${look#*:}.jpg --path scenes/hello.svg";; *) what=scenes/$$name.json;; esac; \
	  $(BUILD)/app/cli/vorlin render $$what --preset $$name --time 2.95s --over layer -q -y -o $(BUILD)/look.png; \
	  ffmpeg -v error -y -i $(BUILD)/look.png -vf scale=480:-2:flags=lanczos -q:v 3 docs/images/$$name.jpg; \
	done
	PYTHONPATH=$(BUILD)/app/python /usr/bin/python3 examples/widths.py $(BUILD)/widths.png
	ffmpeg -v error -y -i $(BUILD)/widths.png -vf scale=960:-2:flags=lanczos -q:v 3 docs/images/python.jpg
	$(BUILD)/app/cli/vorlin check scenes/dusk.jpg --path scenes/hello.svg --preset chrome --to 1.5s --save-scene $(BUILD)/hello.json -y
	FREI0R_PATH=$(BUILD)/app/frei0r ffmpeg -v error -y -loop 1 -r 30 -t 2 -i scenes/dusk.jpg \
	  -vf format=rgba,frei0r=libvorlin_frei0r:$(BUILD)/hello.json,select='eq(n\,46)',scale=480:-2 -frames:v 1 -q:v 3 docs/images/editors.jpg
	tools/control-strips $(BUILD)/app/cli/vorlin
	$(IN_STUDIO) node tools/studio-pictures.mjs $(CURDIR)/$(BUILD)/studio-pictures
	for picture in $(BUILD)/studio-pictures/*.png; do \
	  ffmpeg -v error -y -i $$picture -q:v 3 docs/images/$$(basename $$picture .png).jpg; \
	done

# What editors complete scenes and presets from, and what docs/scene.md and docs/controls.md take from the program.
schemas: $(BUILD)/build.ninja
	cmake --build $(BUILD) --target vorlin vorlin_effect
	$(BUILD)/app/cli/vorlin schema | python3 -m json.tool --compact >scenes/scene.schema.json
	$(BUILD)/app/cli/vorlin schema --preset | python3 -m json.tool --compact >presets/preset.schema.json
	$(BUILD)/app/cli/vorlin schema --page docs/scene.md >$(BUILD)/scene.md
	cp $(BUILD)/scene.md docs/scene.md
	tools/control-strips $(BUILD)/app/cli/vorlin --words-only

package: build
	cd $(BUILD) && cpack
	@ls $(BUILD)/*.deb

test: build
	ctest --preset $(PRESET)

# The studio's page in a real browser, and its types. Needs node and Chromium, which nothing else does.
IN_STUDIO := VORLIN=$(CURDIR)/$(BUILD)/app/cli/vorlin SCENES=$(CURDIR)/scenes
studio-deps:
	@tools/install-deps studio
	cd tests/studio && npm install --silent --no-audit --no-fund --no-package-lock
test-studio: build studio-deps
	tsc -p app/studio/page
	$(IN_STUDIO) node --test tests/studio/page_test.mjs

# Ratios to references that are measured in the same run; the machine should be idle. The results stay
# in build/<preset>/bench/*.json, for bench/compare.py.
BENCH_ARGS ?= --benchmark_counters_tabular=true --benchmark_min_time=1
BENCHES := splat_bench pixel_bench sampler_bench frame_bench read_bench
bench: | deps
	@tools/install-deps bench
	cmake --preset $(PRESET) -D VORLIN_BENCH=ON
	cmake --build $(BUILD) --target $(BENCHES) vorlin vorlin_effect
	set -e; for b in $(BENCHES); do $(BUILD)/bench/$$b $(BENCH_ARGS) --benchmark_out=$(BUILD)/bench/$$b.json; done
	bench/render_bench $(BUILD)
	$(MAKE) studio-deps
	ffmpeg -v error -y -i scenes/town.jpg -vf scale=1920:1080:flags=lanczos -q:v 2 $(BUILD)/bench/photo.jpg
	$(IN_STUDIO) node bench/studio_bench.mjs $(CURDIR)/$(BUILD)/bench/photo.jpg $(CURDIR)/$(BUILD)/bench/studio.json

# All figures that age, into one page: lines of code, what the tests count, and the benchmarks that were run.
figures: build
	tools/figures $(BUILD) >$(BUILD)/figures.md
	cp $(BUILD)/figures.md docs/figures.md

# The command line mistreated; the tests run a short version.
KILLS ?= 200
torture: build
	tests/torture/torture.py $(BUILD)/app/cli/vorlin $(BUILD)/tests/torture/libfailing_calls.so scenes/tiles.png --kills $(KILLS)

# Each fuzzer for that long. What it finds is left in build/asan/found, and belongs into fuzz/corpus once mended.
FUZZ_SECONDS ?= 60
FUZZERS ?= entry scene path
fuzz: | deps
	@tools/install-deps fuzz
	cmake --preset asan
	cmake --build --preset asan --target $(FUZZERS:%=fuzz_%)
	tools/fuzz $(FUZZ_SECONDS) $(FUZZERS)

clean:
	rm -rf build demo

.PHONY: deps
deps:
	@tools/install-deps

$(BUILD)/build.ninja: CMakePresets.json | deps
	cmake --preset $(PRESET)
