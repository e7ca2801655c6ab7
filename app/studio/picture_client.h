#pragma once

#include <json/json.h>
#include <sys/types.h>

// Before asio, which misses it under g++ 12.
#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace app {

/// What a worker answered.
struct PictureAnswer {
  Json::Value
      head;  // "error" in place of all else when it failed, "cancelled" when it was not wanted
  std::string bytes;  // of a picture
};

/// A worker process that reads scenes and renders, as the studio sees it. It is started when it is
/// first asked, and anew after it ended untimely.
class PictureClient {
 public:
  using Done = std::function<void(PictureAnswer)>;

  /// `crashed` is told how a worker ended.
  PictureClient(boost::asio::io_context& context, std::filesystem::path effect, int threads,
                std::function<void(const std::string&)> crashed);
  /// Ends the process.
  ~PictureClient();
  PictureClient(const PictureClient&) = delete;
  PictureClient& operator=(const PictureClient&) = delete;

  /// Requests are answered in order. One whose `lane` is not empty takes the place of an older one
  /// of that lane: that one is cancelled.
  void Ask(Json::Value request, const std::string& lane, Done done);

  /// 0: none is running.
  pid_t process() const { return process_; }

 private:
  struct Wanted {
    Json::Value request;
    std::string lane;
    Done done;
  };

  void Start();
  void SendNext();
  void AwaitAnswer();
  void Finish(PictureAnswer answer);
  void OnEnd();
  std::string TakeBytes(std::size_t size) const;

  boost::asio::io_context& context_;
  std::filesystem::path effect_;
  int threads_;
  std::function<void(const std::string&)> crashed_;
  std::optional<boost::asio::local::stream_protocol::socket> line_;
  int memory_ = -1;
  pid_t process_ = 0;
  int last_id_ = 0;
  std::deque<Wanted> waiting_;
  std::optional<Wanted> current_;
  std::uint32_t length_ = 0;
  std::string incoming_;
  std::string outgoing_;
};

}  // namespace app
