#include "hosting/render.h"

#include <utility>

#include "command.h"
#include "hosting/errors.h"
#include "rects.h"

namespace hosting {
namespace {

/// A picture prepared for lending.
struct PreparedLayer {
  std::shared_ptr<const Picture> picture;
  World world;
  AreaSampler sampler;

  PreparedLayer(std::shared_ptr<const Picture> from, World made, std::shared_ptr<MemoryPool> memory)
      : picture(std::move(from)),
        world(std::move(made)),
        sampler(world.record(), world.depth(), std::move(memory)) {}
};

std::string Text(const PF_LRect& r) {
  return "(" + std::to_string(r.left) + ", " + std::to_string(r.top) + ", " +
         std::to_string(r.right) + ", " + std::to_string(r.bottom) + ")";
}

}  // namespace

struct Renderer::State {
  State(const Effect& e, Setup s, RenderOptions o)
      : effect(&e), setup(std::move(s)), options(std::move(o)), workers(options.threads) {
    if (options.threads < 0) throw Error("a number of threads cannot be negative");
    Check(setup);
    PlaceFrame();
  }

  void Check(const Setup& other) const {
    other.Check();
    if (other.controls.controls().size() != effect->controls().size()) {
      throw Error("the controls are not this effect's");
    }
  }

  void PlaceFrame() {
    bounds = {0, 0, ReducedSize(setup.width, options.downsample_x),
              ReducedSize(setup.height, options.downsample_y)};
    region = options.region.value_or(bounds);
    if (IsEmpty(region)) region = {region.left, region.top, region.left, region.top};
  }

  void ShowLayer(std::int64_t frame);
  World RenderSmart(A_long layer_time);
  World RenderClassic(A_long layer_time);
  void Attach(Command& command, A_long layer_time);
  void PlaceWorlds(const World& output);
  World WorldFor(const PF_LRect& rect, const WorldLayout& layout = {}) const;
  World Blank() const;
  World AsRegion(World output) const;

  const Effect* effect;
  Setup setup;
  RenderOptions options;
  Workers workers;
  std::shared_ptr<MemoryPool> memory = std::make_shared<MemoryPool>();
  PF_LRect bounds{};  // of the layer, in buffer pixels
  PF_LRect region{};  // what is asked for
  std::shared_ptr<PreparedLayer> layer;
  std::vector<World> worlds;  // kept of the effect's own in this frame
};

World Renderer::State::WorldFor(const PF_LRect& rect, const WorldLayout& layout) const {
  World world(rect.right - rect.left, rect.bottom - rect.top, options.depth, layout, memory);
  world.SetOrigin(rect.left, rect.top);
  return world;
}

World Renderer::State::Blank() const {
  World picture = WorldFor(region);
  picture.Clear();
  return picture;
}

/// What the region shows of an output.
World Renderer::State::AsRegion(World output) const {
  const PF_LRect rect = output.rect();
  if (!options.layout.guards && Inside(region, rect) && Inside(rect, region)) return output;
  World picture = Blank();
  CopyOverlap(output, picture);
  return picture;
}

void Renderer::State::ShowLayer(std::int64_t frame) {
  const std::shared_ptr<const Picture> picture = setup.picture(frame);
  if (!picture) throw Error("the layer has no picture for its frame " + std::to_string(frame));
  if (layer && layer->picture == picture) return;
  if (picture->width() != setup.width || picture->height() != setup.height) {
    throw Error("the layer's picture has " + std::to_string(picture->width()) + " x " +
                std::to_string(picture->height()) + " pixels, the layer " +
                std::to_string(setup.width) + " x " + std::to_string(setup.height));
  }
  layer.reset();  // its memory serves the next
  layer = std::make_shared<PreparedLayer>(
      picture,
      picture->ToWorld(options.depth, options.downsample_x, options.downsample_y, options.layout,
                       memory),
      memory);
}

void Renderer::State::Attach(Command& command, A_long layer_time) {
  Prepare(command, setup, layer_time, options);
  command.out_data.out_flags = effect->out_flags();
  command.out_data.out_flags2 = effect->out_flags2();
  command.progress = &options.progress;
  command.workers = &workers;
  command.memory = memory;
  worlds.clear();
  if (options.keep_worlds) command.kept_worlds = &worlds;
}

void Renderer::State::PlaceWorlds(const World& output) {
  for (World& world : worlds) world.SetOrigin(output.rect().left, output.rect().top);
}

World Renderer::State::RenderSmart(A_long layer_time) {
  SmartFrame smart;
  smart.bounds = bounds;
  // A part alone would differ from the whole where the effect looks past its edge or places lights
  // by its corner: regions are cut out of the whole.
  PF_RenderRequest request{};
  request.rect = bounds;

  Command pre(effect->entry(), PF_Cmd_SMART_PRE_RENDER, options.observer);
  Attach(pre, layer_time);
  pre.smart = &smart;
  PF_PreRenderInput pre_input{request};
  PF_PreRenderOutput pre_output{};
  PF_PreRenderCallbacks pre_callbacks = PreRenderCallbacks();
  PF_PreRenderExtra pre_extra{&pre_input, &pre_output, &pre_callbacks};
  pre.Run(nullptr, &pre_extra);
  const PF_LRect result = pre_output.result_rect;
  if (!Inside(result, pre_output.max_result_rect)) {
    throw Breach("PF_Cmd_SMART_PRE_RENDER: result_rect " + Text(result) +
                 " reaches out of max_result_rect " + Text(pre_output.max_result_rect));
  }

  if (IsEmpty(result)) return Blank();

  World output = WorldFor(result, options.layout);
  Command render(effect->entry(), PF_Cmd_SMART_RENDER, options.observer);
  Attach(render, layer_time);
  render.smart = &smart;
  render.input = &layer->world;
  render.sampler = &layer->sampler;
  render.output = &output;
  PF_SmartRenderInput render_input{request};
  PF_SmartRenderCallbacks callbacks = SmartRenderCallbacks();
  PF_SmartRenderExtra extra{&render_input, &callbacks};
  render.Run(nullptr, &extra);
  PlaceWorlds(output);
  return AsRegion(std::move(output));
}

World Renderer::State::RenderClassic(A_long layer_time) {
  World output = WorldFor(bounds, options.layout);
  Command render(effect->entry(), PF_Cmd_RENDER, options.observer);
  Attach(render, layer_time);
  render.input = &layer->world;
  render.sampler = &layer->sampler;
  render.output = &output;
  render.Lend(layer->world);
  render.Lend(output);
  render.params[0].u.ld = layer->world.record();
  render.Run(output.lend());
  PlaceWorlds(output);
  return AsRegion(std::move(output));
}

Renderer::Renderer(const Effect& effect, Setup setup, RenderOptions options)
    : state_(std::make_unique<State>(effect, std::move(setup), std::move(options))) {}
Renderer::~Renderer() = default;
Renderer::Renderer(Renderer&&) noexcept = default;
Renderer& Renderer::operator=(Renderer&&) noexcept = default;

void Renderer::SetSetup(Setup setup) {
  state_->Check(setup);
  state_->setup = std::move(setup);
  state_->PlaceFrame();
}

const Setup& Renderer::setup() const { return state_->setup; }
const RenderOptions& Renderer::options() const { return state_->options; }

Frame Renderer::Render(A_long comp_time) {
  State& s = *state_;
  const std::optional<std::int64_t> layer_frame = s.setup.LayerFrame(comp_time);
  if (!layer_frame) return {s.Blank(), nullptr, {}};
  const std::int64_t layer_time = std::int64_t{comp_time} - s.setup.layer_start;
  const auto time = static_cast<A_long>(layer_time);
  if (layer_time != time) {
    throw Error("a time that far from the layer's start does not fit into 32 bits");
  }
  s.ShowLayer(*layer_frame);
  World picture = s.options.smart ? s.RenderSmart(time) : s.RenderClassic(time);
  return {std::move(picture), {s.layer, &s.layer->world}, std::move(s.worlds)};
}

}  // namespace hosting
