#include "render_results.h"

#include <json/json.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace app {
namespace {

double Rounded(double value) { return std::round(value * 1e6) / 1e6; }

double Total(const std::vector<FrameSeconds>& frames, double FrameSeconds::*part) {
  return std::accumulate(frames.begin(), frames.end(), 0.0,
                         [&](double sum, const FrameSeconds& f) { return sum + f.*part; });
}

double MedianNet(const std::vector<FrameSeconds>& frames) {
  if (frames.empty()) return 0;
  std::vector<double> net;
  net.reserve(frames.size());
  for (const FrameSeconds& frame : frames) net.push_back(frame.net);
  std::sort(net.begin(), net.end());
  const std::size_t middle = net.size() / 2;
  return net.size() % 2 == 1 ? net[middle] : (net[middle - 1] + net[middle]) / 2;
}

Json::Value Statistics(const RenderResults& results) {
  Json::Value json;
  json["net"] = Rounded(MedianNet(results.seconds));
  json["frames"] = static_cast<Json::UInt>(results.seconds.size());
  json["decode"] = Rounded(Total(results.seconds, &FrameSeconds::decode));
  json["encode"] = Rounded(Total(results.seconds, &FrameSeconds::encode));
  json["peak_rss_mib"] = std::round(static_cast<double>(results.peak_kib) / 102.4) / 10;
  json["seconds"] = Rounded(results.wall_seconds);
  json["jobs"] = results.jobs;
  json["threads"] = results.threads;
  return json;
}

const char* NameOf(RenderResults::State state) {
  switch (state) {
    case RenderResults::State::kSkipped:
      return "skipped";
    case RenderResults::State::kWritten:
      return "written";
    case RenderResults::State::kFailed:
      return "failed";
    case RenderResults::State::kNotRendered:
      break;
  }
  return "not_rendered";
}

std::string Text(const Json::Value& json, const char* indentation) {
  Json::StreamWriterBuilder writer;
  writer["indentation"] = indentation;
  writer["precision"] = 9;
  writer["emitUTF8"] = true;
  return Json::writeString(writer, json) + "\n";
}

}  // namespace

std::string RenderResults::Json(bool with_statistics) const {
  Json::Value json;
  for (const State state :
       {State::kWritten, State::kSkipped, State::kFailed, State::kNotRendered}) {
    json[NameOf(state)] = static_cast<Json::Int>(std::count_if(
        frames.begin(), frames.end(), [&](const Frame& frame) { return frame.state == state; }));
  }
  json["frames"] = Json::arrayValue;
  for (const Frame& frame : frames) {
    Json::Value entry;
    entry["frame"] = frame.shot.number;
    entry["file"] = frame.shot.file.string();
    entry["state"] = NameOf(frame.state);
    if (!frame.error.empty()) entry["error"] = frame.error;
    json["frames"].append(entry);
  }
  json["notes"] = Json::arrayValue;
  for (const std::string& note : notes) json["notes"].append(note);
  if (with_statistics) json["stats"] = Statistics(*this);
  return Text(json, "  ");
}

std::string RenderResults::StatisticsJson() const { return Text(Statistics(*this), ""); }

}  // namespace app
