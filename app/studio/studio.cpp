#include "studio.h"

#include <fmt/format.h>

#include <algorithm>

#include "drawn_way.h"
#include "errors.h"
#include "files.h"
#include "json_text.h"
#include "look_edits.h"
#include "message_line.h"
#include "output_file.h"
#include "page_files.h"
#include "path_import.h"
#include "scene_edit.h"
#include "scene_text.h"

namespace app {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr milliseconds kLookOutside{1000};  // for the scene's file
constexpr seconds kLongestWait{20};         // for an event
/// More edits in one request are a mistake.
constexpr Json::ArrayIndex kMostEdits = 10000;

WebResponse JsonResponse(const Json::Value& json, unsigned status = 200) {
  return {status, "application/json", JsonLine(json)};
}

WebResponse ErrorResponse(const std::string& what, unsigned status = 400) {
  Json::Value json;
  json["error"] = what;
  return JsonResponse(json, status);
}

/// The work is another than that of the page, which is to look again.
struct Outdated {};
WebResponse OutdatedResponse() {
  return ErrorResponse("the scene was changed in another window; here it is", 409);
}

/// A page may choose another layer, but only from the scene's own folder.
void CheckLayer(const std::string& before, const std::string& after) {
  const auto layer = [](const std::string& text) {
    return JsonText("the scene", text).root()["layer"];
  };
  const Json::Value now = layer(after);
  if (!now.isString() || now == layer(before)) return;
  const std::filesystem::path path = now.asString();
  if (path.is_absolute() || std::find(path.begin(), path.end(), "..") != path.end()) {
    throw InputError(fmt::format("\"{}\" is not in the scene's own folder", path.string()));
  }
}

double NumberOr(const Json::Value& value, double other) {
  if (value.isNull()) return other;
  if (!value.isNumeric()) throw InputError("a number is expected in this request");
  return value.asDouble();
}

std::vector<RecordedPoint> Points(const Json::Value& list) {
  std::vector<RecordedPoint> points;
  for (const Json::Value& p : list) {
    if (p.size() != 3) throw InputError("a stroke's points are [seconds, x, y]");
    points.push_back({NumberOr(p[0], 0), {NumberOr(p[1], 0), NumberOr(p[2], 0)}});
  }
  return points;
}

}  // namespace

Studio::Studio(boost::asio::io_context& context, Document document,
               const std::filesystem::path& effect)
    : context_(context),
      document_(std::move(document)),
      shown_(context, effect, 0, [this](const std::string& how) { crash_ = how, Notify(); }),
      filled_(context, effect, 1, [this](const std::string& how) { crash_ = how, Notify(); }),
      timer_(context) {
  Watch();
}

void Studio::Handle(const WebRequest& request, Respond respond) try {
  if (const PageFile* const file = FindPageFile(request.path)) {
    return respond({200, std::string(file->type), std::string(file->bytes)});
  }
  constexpr std::string_view kApi = "/api/";
  if (request.path == "/api/events") return AwaitEvents(request.query, std::move(respond));
  if (!request.path.starts_with(kApi) || !request.is_post) {
    return respond({404, {}, "there is no such page\n"});
  }
  Obey(request.path.substr(kApi.size()), ParseMessage(request.body), respond);
} catch (const Outdated&) {
  respond(OutdatedResponse());
} catch (const Json::Exception&) {
  respond(ErrorResponse("this request is not understood"));
} catch (...) {
  respond(ErrorResponse(AsError(std::current_exception()).what()));
}

void Studio::Obey(const std::string& what, const Json::Value& request, const Respond& respond) {
  if (what == "picture") return SendPicture(request, respond);
  if (what == "edit") return Edit(request, respond);
  if (what == "undo") {
    document_.Undo();
  } else if (what == "redo") {
    document_.Redo();
  } else if (what == "save") {
    document_.Save(request["replace"].asBool());
    outside_ = false;
  } else if (what == "reload") {
    document_.Reload();
    outside_ = false;
  } else if (what == "look") {
    SaveLook(request);
  } else if (what == "export") {
    Export(request);
  } else if (what == "cancel") {
    if (export_) export_->Cancel();
  } else if (what == "quit") {
    boost::asio::post(context_, [this] { context_.stop(); });
  } else if (what != "state") {
    return respond({404, {}, "there is no such page\n"});
  }
  SendState(request, respond);
  if (what != "state") Notify();
}

void Studio::Watch() {
  timer_.expires_after(kLookOutside);
  timer_.async_wait([this](const boost::system::error_code& error) {
    if (error) return;
    const bool outside = document_.IsChangedOutside();
    if (std::exchange(outside_, outside) != outside) Notify();
    const auto now = steady_clock::now();
    waiters_.remove_if([&](const Waiter& waiter) {
      if (now - waiter.since < kLongestWait) return false;
      waiter.respond(JsonResponse(Events()));
      return true;
    });
    Watch();
  });
}

void Studio::Notify() {
  ++serial_;
  for (const Waiter& waiter : std::exchange(waiters_, {})) waiter.respond(JsonResponse(Events()));
}

void Studio::AwaitEvents(const std::string& query, Respond respond) {
  if (query == fmt::format("after={}", serial_)) {
    waiters_.push_back({std::move(respond), steady_clock::now()});
  } else {
    respond(JsonResponse(Events()));
  }
}

Json::Value Studio::Events() const {
  Json::Value events;
  events["serial"] = serial_;
  events["revision"] = document_.revision();
  events["saved"] = document_.is_saved();
  events["outside"] = outside_;
  events["crash"] = crash_;
  events["journalFault"] = document_.journal_fault();
  if (export_) events["export"] = export_->status();
  return events;
}

Json::Value Studio::WithDocument(Json::Value state) {
  if (state["width"].isInt()) {
    width_ = state["width"].asInt();
    height_ = state["height"].asInt();
    rate_ = state["rateText"].asString();
  }
  const Json::Value events = Events();
  for (const std::string& name : events.getMemberNames()) state[name] = events[name];
  state["file"] = document_.file().string();
  state["name"] = document_.file().filename().string();
  state["undo"] = document_.UndoName();
  state["redo"] = document_.RedoName();
  state["recovered"] = document_.is_recovered();
  for (const std::string& name : LookNames(Looks())) state["looks"].append(name);
  return state;
}

Json::Value Studio::Question(const Json::Value& request, const std::string& text) const {
  Json::Value question;
  question["scene"] = text;
  question["file"] = document_.file().string();
  question["frame"] = static_cast<int>(std::clamp(NumberOr(request["frame"], 0), 0.0, 1e9));
  if (request["changed"].isString()) question["changed"] = request["changed"];
  return question;
}

/// What a text says as a scene, or {"error": ...}.
void Studio::AskState(const Json::Value& request, const std::string& text,
                      std::function<void(Json::Value state, bool is_good)> done) {
  Json::Value question = Question(request, text);
  question["what"] = "state";
  shown_.Ask(std::move(question), "", [done = std::move(done)](PictureAnswer answer) {
    if (answer.head.isMember("error")) return done(std::move(answer.head), false);
    Json::Value state = std::move(answer.head["state"]);
    state["values"] = std::move(answer.head["values"]);
    state["panel"] = std::move(answer.head["panel"]);
    done(std::move(state), true);
  });
}

void Studio::SendState(const Json::Value& request, const Respond& respond) {
  AskState(request, document_.text(), [this, respond](Json::Value state, bool is_good) {
    respond(JsonResponse(WithDocument(std::move(state)), is_good ? 200 : 400));
  });
}

/// The effect's own process says whether the scene is good before it becomes the document.
void Studio::Edit(const Json::Value& request, const Respond& respond) {
  if (request["revision"] != document_.revision()) throw Outdated();
  const std::string text = WithEdits(request["edits"]);
  AskState(request, text, [this, request, respond, text](Json::Value state, bool is_good) {
    if (!is_good) return respond(JsonResponse(state, 400));
    if (request["revision"] != document_.revision()) return respond(OutdatedResponse());
    document_.Change(text, request["name"].asString());
    Notify();
    respond(JsonResponse(WithDocument(std::move(state))));
  });
}

void Studio::SendPicture(const Json::Value& request, const Respond& respond) {
  const std::string text =
      request["edits"].empty() ? document_.text() : WithEdits(request["edits"]);
  Json::Value question = Question(request, text);
  question["what"] = "picture";
  for (const char* const key : {"scale", "over", "alone", "format"}) question[key] = request[key];
  const Json::Value& scale = request["scale"];
  const auto is_side = [](const Json::Value& v) {
    return v.isInt() && v.asInt() >= 1 && v.asInt() <= 64;
  };
  if (scale.size() != 2 || !is_side(scale[0]) || !is_side(scale[1])) {
    throw InputError("a picture's scale is [1, 1] to [1, 64]");
  }
  const std::string over = request["over"].asString();
  if (!over.empty() && over != "layer" && over != "checker" && !over.starts_with('#')) {
    throw InputError(fmt::format("\"{}\" is neither layer, checker nor a colour", over));
  }
  const std::string lane = request["lane"].asString();
  const bool is_filled = lane.starts_with("fill");
  (is_filled ? filled_ : shown_)
      .Ask(std::move(question), lane,
           [respond, revision = document_.revision()](PictureAnswer answer) {
             if (answer.head.isMember("cancelled")) return respond({204, {}, {}});
             if (answer.head.isMember("error")) {
               return respond(ErrorResponse(answer.head["error"].asString()));
             }
             Json::Value facts;
             for (const char* const key : {"values", "panel", "width", "height"}) {
               facts[key] = answer.head[key];
             }
             facts["revision"] = revision;
             respond({200,
                      "application/octet-stream",
                      std::move(answer.bytes),
                      {{"Vorlin-Frame", JsonLine(facts)}}});
           });
}

std::string Studio::WithEdits(const Json::Value& edits) const {
  if (!edits.isArray() || edits.size() > kMostEdits) throw InputError("edits are a list");
  std::string text = document_.text();
  for (const Json::Value& edit : edits) {
    if (edit.isMember("path")) {
      text = Edited(text, edit);
      continue;
    }
    for (const Json::Value& one : Expanded(edit, JsonText("the scene", text).root())) {
      text = Edited(text, one);
    }
  }
  CheckLayer(document_.text(), text);
  return text;
}

Json::Value Studio::Expanded(const Json::Value& edit, const Json::Value& scene) const {
  if (edit["look"].isString()) return LookEdits(edit["look"].asString(), scene, Looks());
  if (edit["draw"].isObject()) return DrawEdits(edit["draw"], scene);
  if (edit["drawing"].isObject()) return DrawingEdits(edit["drawing"], scene);
  throw InputError("this edit is not understood");
}

Json::Value Studio::DrawEdits(const Json::Value& draw, const Json::Value& scene) const {
  DrawnStroke stroke;
  stroke.points = Points(draw["points"]);
  stroke.start = NumberOr(draw["start"], 0) - NumberOr(scene["layer_start"], 0);
  stroke.length = NumberOr(draw["length"], 0);
  stroke.goes_on = draw["goesOn"].asBool();
  stroke.frame_rate = hosting::Rational::Parse(rate_);
  stroke.fit.smoothing = std::clamp(NumberOr(draw["smoothing"], stroke.fit.smoothing), 0.0, 100.0);
  stroke.fit.tolerance = std::clamp(NumberOr(draw["tolerance"], stroke.fit.tolerance), 0.1, 1000.0);
  return EditsFor(stroke, scene);
}

Json::Value Studio::DrawingEdits(const Json::Value& drawing, const Json::Value& scene) const {
  PathImport import{.file = drawing["name"].asString(), .ids = {}, .times = {}};
  import.times.frame_rate = hosting::Rational::Parse(rate_);
  import.times.from = NumberOr(drawing["from"], 0);
  import.times.to = NumberOr(drawing["to"], 3);
  const DrawnStrokes drawn =
      ImportPath(import, drawing["text"].asString(), LayerSize{width_, height_});
  const Json::Value made = JsonText("the drawing", SceneText("", drawn, {}, {})).root();
  return EditsFor(made["controls"]["Brush Position"]["keys"], made["pen"], import.times.frame_rate,
                  scene);
}

void Studio::SaveLook(const Json::Value& request) {
  const std::string name = request["name"].asString();
  if (name.empty() || name.size() > 100 || name.find_first_of("/.\\") != name.npos) {
    throw InputError(fmt::format("\"{}\" is no name for a look: no dots, no slashes", name));
  }
  Json::Value look;
  look["controls"] = JsonText("the scene", document_.text()).root()["controls"];
  look["controls"].removeMember("Brush Position");
  const std::filesystem::path folder = Looks();
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  OutputFile file(folder / (name + ".json"));
  file.Write(SceneValueText(look, "") + "\n");
  file.Commit();
}

/// The scene as it is now, saved or not, under a name of its own for as long as it takes.
void Studio::Export(const Json::Value& request) {
  if (export_ && export_->is_running()) throw InputError("an export is running");
  const std::filesystem::path scene =
      document_.file().parent_path() /
      fmt::format(".{}.export", document_.file().filename().string());
  const std::vector<std::string> words = ExportWords(scene, request["options"]);
  OutputFile file(scene);
  file.Write(document_.text());
  file.Commit();
  export_ = std::make_unique<ExportRun>(context_, scene, words, [this] { Notify(); });
}

}  // namespace app
