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

/// The mean rate of a movie whose rate varies may be an odd fraction, beyond what a time base
/// takes.
hosting::Rational UsableRate(hosting::Rational rate) {
  const auto hundredths = static_cast<std::int64_t>(std::lround(rate.value() * 100));
  for (const auto& tidy : {hosting::StandardFrameRate(rate),
                           hosting::Rational(std::max<std::int64_t>(1, hundredths), 100)}) {
    try {
      return hosting::TimeBase(tidy).frame_rate();
    } catch (const hosting::Error&) {
    }
  }
  return {std::max<std::int64_t>(1, hundredths / 100), 1};
}

hosting::TimeBase ReadTimeBase(const Node& root, const LayerSource& layer) {
  const auto rate = root.Find("frame_rate");
  const auto layer_rate = root.Find("layer_frame_rate");
  const hosting::Rational frame_rate =
      rate          ? rate->Rate()
      : layer.movie ? UsableRate(layer.movie->frame_rate)
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

/// Of the layer or, over a picture, of the stroke, whose last frame is part of it.
double NaturalSeconds(const Scene& scene, hosting::Rational layer_rate) {
  const LayerSource& layer = scene.layer;
  if (layer.movie && layer.movie->seconds > 0) return layer.movie->seconds;
  if (layer.frames > 0) return static_cast<double>(layer.frames) / layer_rate.value();
  const hosting::ControlTracks& controls = scene.setup.controls;
  const auto& brush = std::get<hosting::Track<hosting::Point>>(
      controls.TrackOf(controls.Control("Brush Position").index));
  const double frame = 1 / scene.setup.time.frame_rate().value();
  return brush.constant() ? frame : brush.keys().back().seconds + frame;
}

int ReadFrameCount(const Node& root, const Scene& scene) {
  const hosting::TimeBase& time = scene.setup.time;
  if (const auto duration = root.Find("duration")) {
    const double seconds = duration->Number();
    if (!(seconds > 0 && seconds <= time.MaxSeconds())) {
      duration->Fail(fmt::format("the duration is more than 0 and at most {:.0f} seconds, not {}",
                                 std::floor(time.MaxSeconds()), seconds));
    }
    return FrameCount(seconds, time);
  }
  const double seconds =
      time.Seconds(scene.setup.layer_start) + NaturalSeconds(scene, LayerRate(root, time));
  return FrameCount(std::min(seconds, time.MaxSeconds()), time);
}

/// Where a sequence's picture cannot be read, the one before it takes its place, or the next one.
LayerSource HoldMissing(LayerSource layer) {
  layer.picture = [picture = layer.picture, last = layer.frames - 1](std::int64_t frame,
                                                                     hosting::Rational rate) {
    const std::int64_t wanted = std::clamp<std::int64_t>(frame, 0, last);
    for (std::int64_t at = wanted; at >= 0; --at) {
      try {
        return picture(at, rate);
      } catch (const FileError&) {
      }
    }
    for (std::int64_t at = wanted + 1; at < last; ++at) {
      try {
        return picture(at, rate);
      } catch (const FileError&) {
      }
    }
    return picture(last, rate);
  };
  return layer;
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
  } catch (const FileError& error) {
    throw FileError(name.Place() + error.what());
  } catch (const InputError& error) {  // what the name says is wrong, not what the file holds
    name.Fail(error.what());
  }
}

}  // namespace

void Scene::CheckLayer() const {
  if (layer.bad_frames.empty() || holds_missing) return;
  constexpr std::size_t kMostTold = 10;
  std::vector<std::string> others(
      layer.bad_frames.begin() + 1,
      layer.bad_frames.begin() +
          static_cast<std::ptrdiff_t>(std::min(kMostTold, layer.bad_frames.size())));
  throw FileError(layer.bad_frames.front(), others);
}

Scene ReadScene(const std::filesystem::path& path, const hosting::Effect& effect,
                const LayerOpener& open, const SceneChanges& changes) {
  return ReadScene(JsonText::Read(path), path.parent_path(), effect, open, changes);
}

Scene ReadScene(const JsonText& json, const std::filesystem::path& folder,
                const hosting::Effect& effect, const LayerOpener& open,
                const SceneChanges& changes) {
  Mistakes mistakes;
  const Node root = Node(json).Open(SceneFormat(), mistakes);
  Scene scene;
  scene.layer.width = scene.layer.height = 1;  // until there is one
  mistakes.Try([&] {
    if (const auto layer = root.Find("layer")) scene.layer = ReadLayer(*layer, folder, open);
    if (const auto missing = root.Find("missing")) {
      scene.holds_missing =
          missing->format().choices[missing->Choice()] == "hold" && scene.layer.frames > 0;
    }
    if (scene.holds_missing) scene.layer = HoldMissing(std::move(scene.layer));
  });
  hosting::Setup& setup = scene.setup;
  mistakes.Try([&] { setup.time = ReadTimeBase(root, scene.layer); });
  mistakes.Try([&] { ReadLayerTimes(root, setup); });
  mistakes.Try([&] {
    const auto aspect = root.Find("pixel_aspect");
    setup.pixel_aspect = aspect ? aspect->WholePair() : scene.layer.pixel_aspect;
  });
  mistakes.Try([&] {
    if (const auto lights = root.Find("lights")) ReadLights(*lights, setup.composition);
  });
  setup.width = scene.layer.width;
  setup.height = scene.layer.height;
  setup.controls = hosting::ControlTracks(effect.controls(), setup.width, setup.height);
  mistakes.Try([&] {
    if (const auto controls = root.Find("controls")) ReadControls(*controls, setup.controls);
  });
  mistakes.Try([&] { ApplyChanges(changes, setup.controls); });
  mistakes.Try([&] {
    if (const auto pen = root.Find("pen")) setup.controls.Gate("Stroke Width", pen->Spans());
  });
  mistakes.Try([&] { scene.frames = ReadFrameCount(root, scene); });
  mistakes.Tell();

  setup.picture = [picture = scene.layer.picture, rate = LayerRate(root, setup.time)](
                      std::int64_t frame) { return picture(frame, rate); };
  root.Try([&] { setup.Check(); });
  return scene;
}

}  // namespace app
