#pragma once

#include <json/json.h>

#include <optional>
#include <string>

namespace app {

/// A value on one line, in ASCII.
std::string JsonLine(const Json::Value& value);

/// Messages between the studio and its workers: a JSON object after its length, 4 bytes of this
/// machine.
std::string Framed(const Json::Value& message);

/// The longest message that is taken, bytes.
inline constexpr std::size_t kLongestMessage = std::size_t{64} << 20;

/// Both wait. Nothing, or false, once the other side is gone.
std::optional<Json::Value> ReceiveMessage(int descriptor);
bool SendMessage(int descriptor, const Json::Value& message);

/// Throws InputError for a text that is no JSON object.
Json::Value ParseMessage(const std::string& text);

}  // namespace app
