#pragma once

#include <json/json.h>
#include <sys/types.h>

// Before asio, which misses it under g++ 12.
#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/streambuf.hpp>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace app {

/// The words after "vorlin" that export a scene as a page's request says: its "output", a path
/// below the scene's folder, and options of `render` by their long names, as {"depth": "16",
/// "over": "layer", "overwrite": true}. Throws InputError for others, and for a path that leads
/// elsewhere.
std::vector<std::string> ExportWords(const std::filesystem::path& scene,
                                     const Json::Value& request);

/// A child process that renders a copy of the scene, which goes away with it, and what it says of
/// itself.
class ExportRun {
 public:
  /// `changed` is called whenever status() has. Throws FileError when it cannot be started.
  ExportRun(boost::asio::io_context& context, std::filesystem::path scene,
            const std::vector<std::string>& words, std::function<void()> changed);
  /// Ends it.
  ~ExportRun();
  ExportRun(const ExportRun&) = delete;
  ExportRun& operator=(const ExportRun&) = delete;

  /// {"running": true, "done": 12.3, "frames": 90, "left": 4.5, "error": ...}: seconds; how many
  /// frames; what went wrong, or "cancelled".
  const Json::Value& status() const { return status_; }
  bool is_running() const { return process_ > 0; }
  void Cancel() const;

 private:
  void ReadLine();
  void OnEnd();

  boost::asio::posix::stream_descriptor errors_;
  boost::asio::streambuf said_;
  std::filesystem::path scene_;
  pid_t process_ = 0;
  Json::Value status_;
  std::function<void()> changed_;
};

}  // namespace app
