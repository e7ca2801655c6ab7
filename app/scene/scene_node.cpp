#include "scene_node.h"
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "color_text.h"
#include "hosting/time_base.h"
#include "suggest.h"

namespace app {
namespace {

std::string_view TypeName(const Json::Value& value) {
  switch (value.type()) {
    case Json::nullValue:
      return "null";
    case Json::booleanValue:
      return "true or false";
    case Json::stringValue:
      return "a text";
    case Json::arrayValue:
      return "a list";
    case Json::objectValue:
      return "an object";
    default:
      return "a number";
  }
}

/// As people write it: limits of 16.16 numbers have more digits than they mean.
double Rounded(double v) { return std::abs(v) < 1e9 ? std::round(v * 1e6) / 1e6 : v; }

}  // namespace

Node Node::As(const KeyFormat& format) const {
  Node node = *this;
  node.format_ = &format;
  return node;
}

Node Node::Open(const ObjectFormat& format) const {
  Mistakes mistakes;
  Node node = Open(format, mistakes);
  mistakes.Tell();
  return node;
}

Node Node::Open(const ObjectFormat& format, Mistakes& mistakes) const {
  if (!IsObject()) Expected(fmt::format("{} {{...}}", format.what));
  Node node = *this;
  node.keys_ = &format;
  for (const Node& part : Parts()) {
    if (format.Find(part.key()) != nullptr) continue;
    mistakes.Try([&] {
      part.FailAtKey(fmt::format("{} has no \"{}\"{}", format.what, part.key(),
                                 format.DidYouMean(part.key())));
    });
  }
  for (const KeyFormat& key : format.keys) {
    if (key.needed) mistakes.Try([&] { node.Need(key.name); });
  }
  return node;
}

std::optional<Node> Node::Find(std::string_view key) const {
  const Json::Value* value = value_->find(key.data(), key.data() + key.size());
  if (value == nullptr) return std::nullopt;
  return Part(*value, std::string(key));
}

Node Node::Need(std::string_view key) const {
  const std::optional<Node> node = Find(key);
  if (!node) Fail(fmt::format("\"{}\" is missing", key));
  return *node;
}

std::vector<Node> Node::Parts() const {
  std::vector<Node> parts;
  parts.reserve(value_->size());
  for (auto it = value_->begin(); it != value_->end(); ++it) {
    parts.push_back(Part(*it, IsObject() ? it.name() : std::string()));
  }
  std::sort(parts.begin(), parts.end(), [](const Node& a, const Node& b) {
    return a.value_->getOffsetStart() < b.value_->getOffsetStart();
  });
  return parts;
}

Node Node::Part(const Json::Value& value, std::string key) const {
  Node part(*text_);
  part.value_ = &value;
  part.parent_ = value_;
  part.format_ = keys_ == nullptr ? nullptr : keys_->Find(key);
  part.key_ = std::move(key);
  return part;
}

std::string Node::Text() const {
  if (!value_->isString()) Expected("a text");
  return value_->asString();
}

double Node::Number() const {
  if (!value_->isNumeric() || !std::isfinite(value_->asDouble())) Expected("a number");
  CheckRange(value_->asDouble());
  return value_->asDouble();
}

void Node::CheckRange(double number) const {
  if (format_ == nullptr || format_->Holds(number)) return;
  const auto [min, max] = format_->range;
  Fail(fmt::format("\"{}\" is {}, but must be from {} to {}", format_->name, Rounded(number),
                   Rounded(min), Rounded(max)));
}

hosting::Rational Node::Rate() const {
  if (!value_->isNumeric() && !value_->isString()) Expected("a number or \"30000/1001\"");
  return Try([&] {
    return hosting::StandardFrameRate(hosting::Rational::Parse(
        value_->isString() ? value_->asString() : std::string(text_->Written(*value_))));
  });
}

template <std::size_t N>
std::array<double, N> Node::Numbers(std::string_view what) const {
  if (!IsList() || value_->size() != N) Expected(what);
  std::array<double, N> numbers{};
  for (Json::ArrayIndex i = 0; i < N; ++i) {
    numbers[i] = Part((*value_)[i], {}).Number();
  }
  return numbers;
}

hosting::Rational Node::WholePair() const {
  const auto [x, y] = Numbers<2>("a point [x, y]");
  const auto whole = [&](double v) { return format_->Holds(v) && v == std::floor(v); };
  if (!whole(x) || !whole(y)) {
    Fail("the pixel aspect is a ratio of whole numbers, as [10, 11]");
  }
  return {static_cast<std::int64_t>(x), static_cast<std::int64_t>(y)};
}

hosting::Point Node::Point() const {
  const auto [x, y] = Numbers<2>("a point [x, y]");
  CheckRange(x);
  CheckRange(y);
  return {x, y};
}

hosting::Vec3 Node::Triple() const {
  const auto [x, y, z] = Numbers<3>("[x, y, z]");
  return {x, y, z};
}

hosting::Color Node::Color() const {
  const auto color = ParseColor(value_->isString() ? value_->asString() : "");
  if (!color) Expected("a colour \"#rrggbb\"");
  return *color;
}

std::vector<hosting::Span> Node::Spans() const {
  if (!IsList()) Expected("a list of spans [[in, out], ...]");
  std::vector<hosting::Span> spans;
  for (Node part : Parts()) {
    part.format_ = format_;
    const auto [in, out] = part.Numbers<2>("a span [in, out]");
    if (!(in < out)) part.Fail("a span ends after it begins");
    if (!spans.empty() && !(spans.back().out <= in)) {
      part.Fail("spans follow each other in time");
    }
    spans.push_back({in, out});
  }
  return spans;
}

hosting::Handle Node::Handle() const {
  const auto [time, progress] = Numbers<2>("a handle [time, progress]");
  if (!format_->Holds(time)) {
    Part((*value_)[0], {}).Fail(fmt::format("a handle's time goes from 0 to 1, not {}", time));
  }
  return {time, progress};
}

std::size_t Node::Choice(std::string_view what) const {
  const std::vector<std::string>& choices = format_->choices;
  const std::string text = Text();
  const auto found = std::find(choices.begin(), choices.end(), text);
  if (found == choices.end()) {
    const std::string named =
        what.empty() ? fmt::format("\"{}\"", format_->name) : std::string(what);
    Fail(fmt::format("{} is one of \"{}\", not \"{}\"{}", named, fmt::join(choices, "\", \""), text,
                     DidYouMean(text, choices)));
  }
  return static_cast<std::size_t>(found - choices.begin());
}

void Node::Fail(const std::string& message) const { text_->FailAt(*value_, message); }

void Node::FailAtKey(const std::string& message) const {
  text_->FailAtKey(*parent_, *value_, message);
}

void Node::Expected(std::string_view what) const {
  // Short values are shown as they are written, long ones by their type.
  const std::string_view written = text_->Written(*value_);
  const bool short_one = written.size() <= 40 && written.find('\n') == written.npos;
  Fail(fmt::format("expected {}, found {}", what, short_one ? written : TypeName(*value_)));
}

}  // namespace app
