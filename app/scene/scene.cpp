#include "scene.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "errors.h"
#include "scene_controls.h"
#include "scene_lights.h"
#include "scene_node.h"

namespace app {
namespace {

hosting::TimeBase ReadTimeBase(const Node& root, const LayerSource& layer) {
  const auto rate = root.Find("frame_rate");
  const auto layer_rate = root.Find("layer_frame_rate");
  const hosting::Rational frame_rate =
      rate          ? rate->Rate()
      : layer.movie ? layer.movie->frame_rate
                    : hosting::Rational(SceneFormat().Find("frame_rate")->initial.asInt(), 1);
  const Node& last = layer_rate ? *layer_rate : rate ? *rate : root;
  return last.Try(
      [&] { return hosting::TimeBase(frame_rate, layer_rate ? layer_rate->Rate() : frame_rate); });
}

hosting::Rational LayerRate(const Node& root, const hosting::TimeBase& time) {
  const auto written = root.Find("layer_frame_rate");
  return written ? written->Rate() : time.frame_rate();
}

int FrameCount(double seconds, const hosting::TimeBase& time) {
  return std::max(1, static_cast<int>(std::lround(seconds * time.frame_rate().value())));
}

/// A movie's own length where the scene does not say one.
int ReadFrameCount(const Node& root, const LayerSource& layer, const hosting::TimeBase& time) {
  if (!root.Find("duration") && layer.movie && layer.movie->seconds > 0) {
    return FrameCount(std::min(layer.movie->seconds, time.MaxSeconds()), time);
  }
  const Node duration = root.Need("duration");
  const double seconds = duration.Number();
  if (!(seconds > 0 && seconds <= time.MaxSeconds())) {
    duration.Fail(fmt::format("the duration is more than 0 and at most {:.0f} seconds, not {}",
                              std::floor(time.MaxSeconds()), seconds));
  }
  return FrameCount(seconds, time);
}

void ReadLayerTimes(const Node& root, hosting::Setup& setup) {
  if (const auto start = root.Find("layer_start")) {
    setup.layer_start = start->Try([&] { return setup.time.Time(start->Number()); });
  }
  hosting::Span& span = setup.composition.EffectLayer().span;
  if (const auto in = root.Find("layer_in")) span.in = in->Number();
  if (const auto out = root.Find("layer_out")) span.out = out->Number();
}

LayerSource ReadLayer(const Node& name, const std::filesystem::path& folder,
                      const LayerOpener& open) {
  const std::filesystem::path file = folder / name.Text();
  try {
    return open(file);
  } catch (const InputError& error) {  // what the name says is wrong, not what the file holds
    name.Fail(error.what());
  }
}

}  // namespace

Scene ReadScene(const std::filesystem::path& path, const hosting::Effect& effect,
                const LayerOpener& open, const SceneChanges& changes) {
  return ReadScene(JsonText::Read(path), path.parent_path(), effect, open, changes);
}

Scene ReadScene(const JsonText& json, const std::filesystem::path& folder,
                const hosting::Effect& effect, const LayerOpener& open,
                const SceneChanges& changes) {
  const Node root = Node(json).Open(SceneFormat());
  Scene scene;
  scene.layer = ReadLayer(root.Need("layer"), folder, open);
  hosting::Setup& setup = scene.setup;
  setup.time = ReadTimeBase(root, scene.layer);
  scene.frames = ReadFrameCount(root, scene.layer, setup.time);
  ReadLayerTimes(root, setup);
  const auto aspect = root.Find("pixel_aspect");
  setup.pixel_aspect = aspect ? aspect->WholePair() : scene.layer.pixel_aspect;
  if (const auto lights = root.Find("lights")) ReadLights(*lights, setup.composition);

  setup.width = scene.layer.width;
  setup.height = scene.layer.height;
  setup.picture = [picture = scene.layer.picture, rate = LayerRate(root, setup.time)](
                      std::int64_t frame) { return picture(frame, rate); };

  setup.controls = hosting::ControlTracks(effect.controls(), setup.width, setup.height);
  if (const auto controls = root.Find("controls")) ReadControls(*controls, setup.controls);
  ApplyChanges(changes, setup.controls);
  root.Try([&] { setup.Check(); });
  return scene;
}

}  // namespace app
