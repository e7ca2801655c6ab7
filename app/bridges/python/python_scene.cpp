#include "python_scene.h"

#include <fmt/format.h>

#include <cstring>
#include <utility>
#include <variant>
#include <vector>

#include "backdrop.h"
#include "control_list.h"
#include "errors.h"
#include "field_picture.h"
#include "files.h"
#include "json_values.h"
#include "layer_source.h"
#include "output_file.h"

namespace py = pybind11;

namespace app {
namespace {

/// Rows of an array as RGBA without gaps.
template <class Channel>
std::vector<Channel> Channels(const py::array& array, Channel opaque) {
  const auto pixels = py::array_t<Channel, py::array::c_style | py::array::forcecast>(array);
  const auto count = static_cast<std::size_t>(pixels.shape(0) * pixels.shape(1));
  const auto planes = static_cast<std::size_t>(pixels.shape(2));
  std::vector<Channel> channels(4 * count, opaque);
  const Channel* from = pixels.data();
  if (planes == 4) {
    std::memcpy(channels.data(), from, 4 * count * sizeof(Channel));
    return channels;
  }
  for (std::size_t i = 0; i < count; ++i) std::copy_n(from + 3 * i, 3, channels.data() + 4 * i);
  return channels;
}

hosting::Picture ToPicture(const py::array& array) {
  if (array.ndim() != 3 || (array.shape(2) != 3 && array.shape(2) != 4)) {
    throw InputError("a layer's shape is (height, width, 4) or (height, width, 3)");
  }
  const int width = static_cast<int>(array.shape(1));
  const int height = static_cast<int>(array.shape(0));
  if (py::isinstance<py::array_t<std::uint8_t>>(array)) {
    return {width, height, Channels<std::uint8_t>(array, 255)};
  }
  if (py::isinstance<py::array_t<std::uint16_t>>(array)) {
    return {width, height, Channels<std::uint16_t>(array, 65535)};
  }
  if (array.dtype().kind() == 'f') return {width, height, Channels<float>(array, 1)};
  throw InputError("a layer's numbers are uint8, uint16 or float");
}

/// An array that owns a vector's numbers; they are not copied.
template <class Channel>
py::array ToArray(std::vector<Channel> channels, std::vector<py::ssize_t> shape) {
  auto owned = std::make_unique<std::vector<Channel>>(std::move(channels));
  const py::capsule owner(owned.get(),
                          [](void* p) { delete static_cast<std::vector<Channel>*>(p); });
  const Channel* data = owned.release()->data();
  return py::array_t<Channel>(std::move(shape), data, owner);
}

template <class Channel>
void Premultiply(std::vector<Channel>& channels) {
  constexpr bool kReal = std::is_same_v<Channel, float>;
  constexpr std::uint64_t kWhite = kReal ? 1 : std::numeric_limits<Channel>::max();
  for (std::size_t i = 0; i < channels.size(); i += 4) {
    for (std::size_t c = i; c < i + 3; ++c) {
      if constexpr (kReal) {
        channels[c] *= channels[i + 3];
      } else {
        channels[c] = static_cast<Channel>(
            (std::uint64_t{channels[c]} * channels[i + 3] + kWhite / 2) / kWhite);
      }
    }
  }
}

}  // namespace

const hosting::Effect& TheEffect() {
  static const hosting::Effect effect(FindEffect({}));
  return effect;
}

PythonScene::PythonScene(const std::string& file)
    : folder_(std::filesystem::path(file).parent_path()), name_(file) {
  const JsonText json = JsonText::Read(file);
  scene_ = std::make_shared<const Scene>(ReadScene(json, folder_, TheEffect(), OpenLayer));
  json_ = json.root();
}

PythonScene::PythonScene(const py::array& layer, double frame_rate, double duration)
    : name_("scene"), layer_(std::make_shared<const hosting::Picture>(ToPicture(layer))) {
  Json::Value json;
  json["layer"] = "pixels";
  json["frame_rate"] = frame_rate;
  json["duration"] = duration;
  Read(std::move(json));
}

void PythonScene::Read(Json::Value json) {
  const LayerOpener open = [this](const std::filesystem::path& file) {
    if (!layer_) return OpenLayer(file);
    LayerSource source;
    source.picture = [layer = layer_](std::int64_t, hosting::Rational) { return layer; };
    source.width = layer_->width();
    source.height = layer_->height();
    return source;
  };
  const JsonText text = JsonText::Inline(name_, WriteJson(json, ""));
  scene_ = std::make_shared<const Scene>(ReadScene(text, folder_, TheEffect(), open));
  json_ = std::move(json);
}

py::object PythonScene::Get(const std::string& control) const {
  const hosting::ControlTracks& tracks = scene_->setup.controls;
  const hosting::ControlInfo& info = tracks.Control(control);
  const Json::Value& controls = json_["controls"];
  if (controls.isMember(control)) return FromJson(controls[control]);
  if (!info.has_value()) return py::none();
  const auto* point = std::get_if<hosting::Track<hosting::Point>>(&tracks.TrackOf(info.index));
  if (point == nullptr) return FromJson(ControlFormat(info).initial);
  return py::make_tuple(point->At(0).x, point->At(0).y);
}

void PythonScene::Set(const std::string& control, const py::handle& value) {
  Json::Value json = json_;
  json["controls"][control] = ToJson(value);
  Read(std::move(json));
}

void PythonScene::Remove(const std::string& control) {
  Json::Value json = json_;
  json["controls"].removeMember(control);
  Read(std::move(json));
}

void PythonScene::ApplyLook(const std::string& look) {
  Json::Value json = json_;
  const Json::Value controls = ChangedControls({.preset = FindPreset(look), .settings = {}});
  for (const std::string& name : controls.getMemberNames()) {
    json["controls"][name] = controls[name];
  }
  Read(std::move(json));
}

void PythonScene::Save(const std::string& file) const {
  if (layer_) throw InputError("a scene on pixels cannot be saved: its layer has no file");
  Json::Value json = json_;
  const std::filesystem::path layer = std::filesystem::absolute(folder_ / json["layer"].asString());
  const std::filesystem::path to = std::filesystem::absolute(file).parent_path();
  json["layer"] = layer.lexically_normal().lexically_relative(to.lexically_normal()).string();
  OutputFile output(file);
  output.Write(WriteJson(json, "  ") + "\n");
  output.Commit();
}

py::array PythonScene::Render(int frame, const How& how) {
  const bool field = how.what == "field";
  if (!field && how.what != "picture") {
    throw InputError(fmt::format("what is \"picture\" or \"field\", not \"{}\"", how.what));
  }
  hosting::RenderOptions options;
  options.depth = hosting::DepthOf(how.depth);
  options.keep_worlds = field;
  bool interrupted = false;
  options.progress = [&interrupted](A_long, A_long) {
    const py::gil_scoped_acquire acquire;
    interrupted = interrupted || PyErr_CheckSignals() != 0;
    return !interrupted;
  };
  hosting::World world;
  hosting::Depth depth = options.depth;
  try {
    const std::shared_ptr<const Scene> scene = scene_;
    const py::gil_scoped_release release;
    const std::lock_guard lock(rendering_);
    const Backdrop backdrop(how.over);
    backdrop.CheckSize(scene->setup.width, scene->setup.height);
    hosting::Renderer renderer(TheEffect(), scene->setup, options);
    hosting::Frame rendered = renderer.Render(scene->setup.time.FrameTime(frame));
    if (field) {
      world = FieldOf(rendered);
      depth = hosting::Depth::k32;
    } else {
      backdrop.PutUnder(rendered, options);
      world = std::move(rendered.picture);
    }
  } catch (const hosting::EffectError&) {
    if (interrupted) throw py::error_already_set();
    throw;
  }
  const std::vector<py::ssize_t> shape{world.height(), world.width(), 4};
  return std::visit(
      [&]<class Channel>(std::vector<Channel> channels) -> py::array {
        if (field) {  // one channel of it
          std::vector<Channel> one(channels.size() / 4);
          for (std::size_t i = 0; i < one.size(); ++i) one[i] = channels[4 * i];
          return ToArray(std::move(one), {shape[0], shape[1]});
        }
        if (how.premultiplied) Premultiply(channels);
        return ToArray(std::move(channels), shape);
      },
      hosting::Picture(world, depth).TakePixels());
}

}  // namespace app
