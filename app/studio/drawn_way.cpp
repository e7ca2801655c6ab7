#include "drawn_way.h"

#include <algorithm>
#include <cmath>

#include "errors.h"
#include "json_text.h"

namespace app {
namespace {

using hosting::Key;
using hosting::Point;

/// A pointer at rest is silent: for this long before the next word it is where it was, seconds.
constexpr double kSilence = 0.05;
constexpr double kResume = 0.008;
constexpr double kKeysASecond = 10;
/// Times the tolerance.
constexpr double kMostRoom = 1.8;
/// The longest pause that is kept between two strokes, seconds.
constexpr double kLongestPause = 0.25;

double Rounded(double value) { return std::round(value * 1e4) / 1e4; }

/// Hundredths of a pixel.
Json::Value Pair(const Point& p) {
  const auto hundredths = [](double v) { return std::round(v * 100) / 100; };
  return JsonList(hundredths(p.x), hundredths(p.y));
}

Json::Value Ease(const hosting::Handle& h) { return JsonList(h.time, Rounded(h.progress)); }

Json::Value AsJson(const Key<Point>& key, double start) {
  Json::Value json;
  json["time"] = Rounded(start + key.seconds);
  json["value"] = Pair(key.value);
  if (key.in != hosting::kLinear) json["in"] = Ease(key.in);
  if (key.out != hosting::kLinear) json["out"] = Ease(key.out);
  if (key.in_tangent != Point{}) json["in_tangent"] = Pair(key.in_tangent);
  if (key.out_tangent != Point{}) json["out_tangent"] = Pair(key.out_tangent);
  return json;
}

/// With the moments in which a resting pointer said nothing, and as long as it shall be.
std::vector<RecordedPoint> Recording(const DrawnStroke& stroke) {
  if (stroke.points.size() < 2) throw InputError("a stroke needs two points at least");
  std::vector<RecordedPoint> all;
  for (const RecordedPoint& point : stroke.points) {
    if (!std::isfinite(point.seconds + point.at.x + point.at.y)) {
      throw InputError("a stroke's point is not a number");
    }
    if (!all.empty() && !(all.back().seconds < point.seconds)) {
      throw InputError("a stroke's times must rise");
    }
    if (!all.empty() && point.seconds - all.back().seconds > kSilence) {
      all.push_back({point.seconds - kResume, all.back().at});
    }
    all.push_back(point);
  }
  const double first = all.front().seconds;
  const double lasted = all.back().seconds - first;
  const double factor = stroke.length > 0 ? stroke.length / lasted : 1;
  for (RecordedPoint& point : all) point.seconds = (point.seconds - first) * factor;
  return all;
}

/// A hand that trembles gets a little more room before it gets more keys.
std::vector<Key<Point>> FewKeys(const DrawnStroke& stroke) {
  const std::vector<RecordedPoint> recording = Recording(stroke);
  const double most = std::max(kKeysASecond * recording.back().seconds, kKeysASecond);
  RecordingFit fit = stroke.fit;
  const double widest = kMostRoom * fit.tolerance;
  for (;; fit.tolerance *= 1.25) {
    std::vector<Key<Point>> keys = FitRecording(recording, fit);
    if (static_cast<double>(keys.size()) <= most || fit.tolerance > widest) return keys;
  }
}

/// Keys after which nothing moves until the next.
void HoldLast(Json::Value& keys) {
  Json::Value& last = keys[keys.size() - 1];
  if (last["ease"] == "smooth" && !last.isMember("in")) last["in"] = JsonList(1.0 / 3, 0);
  last["ease"] = "hold";
  last.removeMember("out");
}

Json::Value SetEdit(const Json::Value& path, const Json::Value& value) {
  Json::Value edit;
  edit["path"] = path;
  edit["set"] = value;
  return edit;
}

}  // namespace

Json::Value EditsFor(const Json::Value& keys, const Json::Value& pen, hosting::Rational frame_rate,
                     const Json::Value& scene) {
  Json::Value way;
  way["keys"] = keys;
  Json::Value edits = JsonList(SetEdit(JsonList("controls", "Brush Position"), way));
  if (!pen.empty()) {
    edits.append(SetEdit(JsonList("pen"), pen));
  } else if (scene.isMember("pen")) {
    Json::Value edit;
    edit["path"] = JsonList("pen");
    edit["remove"] = true;
    edits.append(edit);
  }
  const double shown = keys[keys.size() - 1]["time"].asDouble() + scene["layer_start"].asDouble();
  const double end = std::ceil(shown * frame_rate.value() + 1 - 1e-6) / frame_rate.value();
  if (scene.isMember("duration") && scene["duration"].asDouble() < end - 1e-9) {
    edits.append(SetEdit(JsonList("duration"), Rounded(end)));
  }
  return edits;
}

Json::Value EditsFor(const DrawnStroke& stroke, const Json::Value& scene) {
  const double rate = stroke.frame_rate.value();
  const auto frame_at = [&](double seconds) { return std::floor(seconds * rate + 1e-6); };
  const auto frame_after = [&](double seconds) { return std::ceil(seconds * rate - 1e-6); };
  const auto seconds = [&](double frame) { return frame / rate; };

  const Json::Value& before = scene["controls"]["Brush Position"];
  const bool goes_on = stroke.goes_on && before.isObject() && !before["keys"].empty();
  Json::Value keys = goes_on ? before["keys"] : Json::Value(Json::arrayValue);
  Json::Value pen(Json::arrayValue);
  double first_frame = frame_at(std::max(0.0, stroke.start));
  if (goes_on) {
    const double begin = keys[0]["time"].asDouble();
    const double end = seconds(frame_after(keys[keys.size() - 1]["time"].asDouble()));
    pen = scene.isMember("pen") ? scene["pen"] : JsonList(JsonList(std::min(0.0, begin), end));
    const double up = std::max(end, pen[pen.size() - 1][1].asDouble());
    const double pause = std::clamp(stroke.start - up, 1 / rate, kLongestPause);
    first_frame = std::max(frame_after(up) + 1, frame_after(up + pause));
    HoldLast(keys);
  }
  const double start = seconds(first_frame);
  double end = start;
  for (const Key<Point>& key : FewKeys(stroke)) {
    keys.append(AsJson(key, start));
    end = start + key.seconds;
  }
  if (goes_on) pen.append(JsonList(start, seconds(frame_after(end))));
  return EditsFor(keys, pen, stroke.frame_rate, scene);
}

}  // namespace app
