#include "picture_worker.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <list>
#include <map>
#include <optional>
#include <span>
#include <thread>
#include <utility>

#include "backdrop.h"
#include "channel.h"
#include "color_text.h"
#include "control_list.h"
#include "errors.h"
#include "files.h"
#include "hosting/errors.h"
#include "hosting/render.h"
#include "layer_source.h"
#include "message_line.h"
#include "picture_file.h"
#include "scene.h"
#include "scene_lights.h"
#include "scene_notes.h"

namespace app {
namespace {

using hosting::ControlInfo;

/// Layers that were opened last, so that a changed control does not decode the picture again.
class KeptLayers {
 public:
  LayerSource Open(const std::filesystem::path& path) {
    std::error_code ignored;
    const auto time = std::filesystem::last_write_time(path, ignored);
    for (const Kept& kept : kept_) {
      if (kept.path == path && kept.time == time) return kept.layer;
    }
    kept_.push_front({path, time, OpenLayer(path)});
    if (kept_.size() > 2) kept_.pop_back();
    return kept_.front().layer;
  }

 private:
  struct Kept {
    std::filesystem::path path;
    std::filesystem::file_time_type time;
    LayerSource layer;
  };
  std::list<Kept> kept_;
};

Json::Value ValueAsJson(const ControlInfo& control, const hosting::ControlTrack& track,
                        double seconds) {
  return std::visit(
      [&]<class Value>(const hosting::Track<Value>& values) -> Json::Value {
        const Value value = values.At(seconds);
        if constexpr (std::is_same_v<Value, hosting::Color>) {
          return ColorText(value);
        } else if constexpr (std::is_same_v<Value, hosting::Point>) {
          return JsonList(value.x, value.y);
        } else if constexpr (std::is_same_v<Value, int>) {
          return control.choices.at(static_cast<std::size_t>(value - 1));
        } else {
          return value;
        }
      },
      track);
}

Json::Value FormatAsJson(const KeyFormat& format) {
  const char* const types[] = {"text",  "number", "rate",   "pair",  "point", "triple",   "colour",
                               "popup", "spans",  "handle", "keyed", "keys",  "controls", "lights"};
  Json::Value json;
  json["name"] = format.name;
  json["type"] = types[static_cast<int>(format.type)];
  json["unit"] = format.unit;
  json["default"] = format.initial;
  json["example"] = format.example;
  json["says"] = format.says;
  json["animated"] = format.animated;
  for (const std::string& choice : format.choices) json["choices"].append(choice);
  if (format.range.max != kAnyNumber.max) {
    json["range"] = JsonList(format.range.min, format.range.max);
  }
  return json;
}

Json::Value FormatAsJson(const ObjectFormat& format) {
  Json::Value json(Json::arrayValue);
  for (const KeyFormat& key : format.keys) json.append(FormatAsJson(key));
  return json;
}

Json::Value PanelAsJson(const hosting::Panel& panel) {
  Json::Value json;
  for (const hosting::ControlState& state : panel) {
    Json::Value one;
    one["enabled"] = state.enabled;
    one["collapsed"] = state.collapsed;
    json.append(one);
  }
  return json;
}

class PictureWorker {
 public:
  PictureWorker(const std::filesystem::path& effect, int threads)
      : effect_(effect), threads_(threads), panel_(effect_.InitialPanel()) {}

  void Run() {
    std::thread listener([this] { Listen(); });
    while (const auto request = requests_.Take()) SendMessage(kWorkerLine, Answer(*request));
    listener.join();
  }

 private:
  struct Kept {
    hosting::Rational scale;
    int scene;  // the number of the scene it shows
    hosting::Renderer renderer;
  };

  void Listen() {
    while (const auto message = ReceiveMessage(kWorkerLine)) {
      if (message->isMember("cancel")) {
        cancelled_ = (*message)["cancel"].asInt();
      } else {
        requests_.Put(*message);
      }
    }
    cancelled_ = -1;  // nobody waits for what is being rendered
    requests_.Close();
  }

  Json::Value Answer(const Json::Value& request) {
    Json::Value answer;
    current_ = request["id"].asInt();
    try {
      Read(request);
      if (request["what"] == "state") {
        AddState(answer);
      } else {
        AddPicture(request, answer);
      }
      AddValues(request, answer);
    } catch (...) {
      const Error error = AsError(std::current_exception());
      answer = {};
      if (IsCancelled()) {
        answer["cancelled"] = true;
      } else {
        answer["error"] = error.what();
      }
    }
    answer["id"] = request["id"];
    return answer;
  }

  bool IsCancelled() const { return cancelled_ == current_ || cancelled_ == -1; }

  /// The request's scene, unless it is the one that was read last.
  void Read(const Json::Value& request) {
    const std::string text = request["scene"].asString();
    if (scene_ && text == text_) return;
    const std::filesystem::path file = request["file"].asString();
    Scene scene = ReadScene(JsonText(file.string(), text), file.parent_path(), effect_,
                            [this](const auto& path) { return layers_.Open(path); });
    text_ = text;
    scene_ = std::move(scene);
    ++scene_number_;
  }

  const hosting::Setup& setup() const { return scene_->setup; }

  void AddState(Json::Value& answer) const {
    Json::Value& state = answer["state"];
    state["scene"] = JsonText("", text_).root();
    state["width"] = setup().width;
    state["height"] = setup().height;
    state["pixelAspect"] = setup().pixel_aspect.value();
    state["frames"] = scene_->frames;
    state["rate"] = setup().time.frame_rate().value();
    state["rateText"] = setup().time.frame_rate().Text();
    state["layerStart"] = setup().time.Seconds(setup().layer_start);
    state["firstNumber"] = scene_->layer.first_number;
    state["isMovie"] = scene_->layer.movie.has_value();
    for (const std::string& note : SceneNotes(*scene_)) state["notes"].append(note);
    state["controls"] = ControlsAsJson(effect_.controls(), effect_.InitialPanel())["controls"];
    state["keyFormat"] = FormatAsJson(KeyframeFormat());
    for (const std::string& type : LightTypeFormat().choices) {
      const auto kind = static_cast<hosting::LightKind>(state["lightFormats"].size());
      state["lightFormats"][type] = FormatAsJson(LightFormat(kind));
    }
  }

  void AddValues(const Json::Value& request, Json::Value& answer) {
    const A_long time = setup().time.FrameTime(request["frame"].asInt());
    const double seconds = setup().time.Seconds(time) - setup().time.Seconds(setup().layer_start);
    int changed = 0;
    for (const ControlInfo& control : effect_.controls()) {
      if (!control.has_value()) continue;
      answer["values"][control.name] =
          ValueAsJson(control, setup().controls.TrackOf(control.index), seconds);
      if (control.name == request["changed"].asString()) changed = control.index;
    }
    panel_ = effect_.Supervise(setup(), time - setup().layer_start, panel_, changed);
    answer["panel"] = PanelAsJson(panel_);
  }

  void AddPicture(const Json::Value& request, Json::Value& answer) {
    const hosting::Rational scale(request["scale"][0].asInt(), request["scale"][1].asInt());
    const A_long time = setup().time.FrameTime(request["frame"].asInt());
    hosting::World picture;
    if (request["alone"].asBool()) {
      picture = LayerAlone(time, scale);
    } else {
      hosting::Renderer& renderer = RendererFor(scale);
      hosting::Frame frame = renderer.Render(time);
      if (request["over"].asString() != over_) {
        backdrop_.emplace(request["over"].asString());
        over_ = request["over"].asString();
      }
      backdrop_->CheckSize(setup().width, setup().height);
      backdrop_->PutUnder(frame, renderer.options());
      picture = std::move(frame.picture);
    }
    answer["width"] = picture.width();
    answer["height"] = picture.height();
    if (request["format"] == "jpeg") {
      PictureFormat format("a.jpg", hosting::Depth::k8);
      format.fleeting = true;
      const EncodedPicture encoded = format.Encode(picture, {}, "the picture");
      Hand(std::as_bytes(std::span(encoded.bytes)), answer);
    } else {
      const auto pixels = hosting::Picture(picture, hosting::Depth::k8).TakePixels();
      Hand(std::as_bytes(std::span(std::get<std::vector<std::uint8_t>>(pixels))), answer);
    }
  }

  hosting::World LayerAlone(A_long time, hosting::Rational scale) const {
    const auto frame = setup().LayerFrame(time);
    if (frame) return setup().picture(*frame)->ToWorld(hosting::Depth::k8, scale, scale);
    hosting::World nothing(hosting::ReducedSize(setup().width, scale),
                           hosting::ReducedSize(setup().height, scale), hosting::Depth::k8);
    nothing.Clear();
    return nothing;
  }

  /// A renderer is kept for each of the last scales.
  hosting::Renderer& RendererFor(hosting::Rational scale) {
    const auto is_it = [&](const Kept& kept) {
      return kept.scale.num() == scale.num() && kept.scale.den() == scale.den();
    };
    const auto found = std::find_if(kept_.begin(), kept_.end(), is_it);
    if (found == kept_.end()) {
      hosting::RenderOptions options;
      options.downsample_x = options.downsample_y = scale;
      options.threads = threads_;
      options.progress = [this](A_long, A_long) { return !IsCancelled(); };
      kept_.push_front({scale, scene_number_, hosting::Renderer(effect_, setup(), options)});
      if (kept_.size() > 3) kept_.pop_back();
    } else {
      kept_.splice(kept_.begin(), kept_, found);
    }
    Kept& kept = kept_.front();
    if (std::exchange(kept.scene, scene_number_) != scene_number_) kept.renderer.SetSetup(setup());
    return kept.renderer;
  }

  static void Hand(std::span<const std::byte> bytes, Json::Value& answer) {
    std::size_t at = 0;
    while (at < bytes.size()) {
      const ssize_t written =
          pwrite(kWorkerMemory, bytes.data() + at, bytes.size() - at, static_cast<off_t>(at));
      if (written <= 0) throw FileError("there is not enough memory for the picture");
      at += static_cast<std::size_t>(written);
    }
    answer["bytes"] = static_cast<Json::UInt64>(bytes.size());
  }

  hosting::Effect effect_;
  int threads_;
  KeptLayers layers_;
  std::string text_;
  std::optional<Scene> scene_;
  int scene_number_ = 0;
  std::list<Kept> kept_;
  std::string over_;
  std::optional<Backdrop> backdrop_{std::in_place, ""};
  hosting::Panel panel_;
  Channel<Json::Value> requests_;
  std::atomic<int> current_{0};
  std::atomic<int> cancelled_{0};
};

}  // namespace

void RunPictureWorker(const std::filesystem::path& effect, int threads) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  std::signal(SIGINT, SIG_IGN);  // the terminal's is for the studio, which ends us
  std::signal(SIGPIPE, SIG_IGN);
  PictureWorker(effect, threads).Run();
}

}  // namespace app
