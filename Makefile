# The short way in. Everything goes through the presets of CMakePresets.json; build/<preset> holds the results.
PRESET ?= release
BUILD := build/$(PRESET)

.PHONY: build demo test clean

build: $(BUILD)/build.ninja
	cmake --build $(BUILD)

demo: $(BUILD)/build.ninja
	cmake --build $(BUILD) --target vorlin vorlin_effect
	rm -rf demo
	mkdir demo
	$(BUILD)/cli/vorlin render scenes/ribbon.json -o demo/ribbon.####.png --over layer
	$(BUILD)/cli/vorlin sheet demo/ribbon.####.png -o demo/ribbon_sheet.png
	@echo
	@echo "90 frames:       demo/ribbon.0000.png to demo/ribbon.0089.png"
	@echo "contact sheet:   demo/ribbon_sheet.png"

test: build
	ctest --preset $(PRESET)

clean:
	rm -rf build demo

.PHONY: deps
deps:
	@tools/install-deps

$(BUILD)/build.ninja: CMakePresets.json | deps
	cmake --preset $(PRESET)
