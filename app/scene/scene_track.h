#pragma once

#include <type_traits>
#include <utility>
#include <vector>

#include "hosting/keyframes.h"
#include "scene_node.h"

namespace app {

/// How a key of an animated value is timed and bent, whatever it is a key of.
template <class Value>
void ReadTiming(const Node& key, hosting::Key<Value>& to) {
  to.seconds = key.Need("time").Number();
  if (const auto ease = key.Find("ease")) {
    const std::string& name = ease->format().choices[ease->Choice()];
    to.hold = name == "hold";
    if (name == "smooth") to.in = to.out = hosting::kSmooth;
  }
  if (const auto in = key.Find("in")) to.in = in->Handle();
  if (const auto out = key.Find("out")) to.out = out->Handle();
  for (const auto& [name, tangent] :
       {std::pair("in_tangent", &to.in_tangent), std::pair("out_tangent", &to.out_tangent)}) {
    const auto written = key.Find(name);
    if (!written) continue;
    if (!std::is_same_v<Value, hosting::Point>) {
      written->FailAtKey("only points in the plane have tangents");
    }
    *tangent = written->Point();
  }
}

/// A value that never changes, or {"keys": [{"time": 0, "value": ...}, ...]}. `read` makes a value
/// of a node.
template <class Read>
auto ReadTrack(const Node& node, const Read& read) {
  using Value = decltype(read(node));
  if (!node.IsObject()) return hosting::Track<Value>(read(node));
  if (!node.format().animated) {
    node.Fail('"' + node.format().name + "\" cannot change over time");
  }
  const Node list = node.Open(KeysFormat()).Need("keys");
  const std::vector<Node> elements = list.Parts();
  if (!list.IsList() || elements.empty()) list.Expected("a list of keys");

  std::vector<hosting::Key<Value>> keys;
  for (const Node& element : elements) {
    const Node written = element.Open(KeyframeFormat());
    hosting::Key<Value> key;
    ReadTiming(written, key);
    key.value = read(written.Need("value").As(node.format()));
    if (!keys.empty() && !(keys.back().seconds < key.seconds)) {
      written.Need("time").Fail("keys must rise in time");
    }
    keys.push_back(std::move(key));
  }
  return hosting::Track<Value>(std::move(keys));
}

}  // namespace app
