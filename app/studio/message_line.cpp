#include "message_line.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>

#include "errors.h"

namespace app {
namespace {

/// Moves all bytes by `step(data, size)`, read or write.
template <class Byte, class Step>
bool MoveAll(Byte* data, std::size_t size, const Step& step) {
  while (size > 0) {
    const ssize_t moved = step(data, size);
    if (moved < 0 && errno == EINTR) continue;
    if (moved <= 0) return false;
    data += moved;
    size -= static_cast<std::size_t>(moved);
  }
  return true;
}

}  // namespace

std::string JsonLine(const Json::Value& value) {
  Json::StreamWriterBuilder writer;
  writer["indentation"] = "";
  return Json::writeString(writer, value);
}

std::string Framed(const Json::Value& message) {
  const std::string text = JsonLine(message);
  const auto length = static_cast<std::uint32_t>(text.size());
  std::string framed(sizeof length, '\0');
  std::memcpy(framed.data(), &length, sizeof length);
  return framed + text;
}

std::optional<Json::Value> ReceiveMessage(int descriptor) {
  const auto take = [descriptor](char* to, std::size_t size) {
    return MoveAll(to, size, [&](char* p, std::size_t n) { return read(descriptor, p, n); });
  };
  std::uint32_t length = 0;
  if (!take(reinterpret_cast<char*>(&length), sizeof length) || length > kLongestMessage) {
    return std::nullopt;
  }
  std::string text(length, '\0');
  if (!take(text.data(), length)) return std::nullopt;
  return ParseMessage(text);
}

bool SendMessage(int descriptor, const Json::Value& message) {
  const std::string text = Framed(message);
  return MoveAll(text.data(), text.size(),
                 [&](const char* p, std::size_t n) { return write(descriptor, p, n); });
}

Json::Value ParseMessage(const std::string& text) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["stackLimit"] = 100;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value message;
  std::string reports;
  bool good = false;
  try {
    good = reader->parse(text.data(), text.data() + text.size(), &message, &reports);
  } catch (const Json::Exception&) {  // nested too deep
  }
  if (!good || !message.isObject()) throw InputError("this is not a JSON object");
  return message;
}

}  // namespace app
