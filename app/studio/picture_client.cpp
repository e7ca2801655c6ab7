#include "picture_client.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "errors.h"
#include "message_line.h"
#include "own_process.h"
#include "picture_worker.h"
#include "worker_process.h"

namespace app {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;

PictureAnswer Cancelled() {
  PictureAnswer answer;
  answer.head["cancelled"] = true;
  return answer;
}

}  // namespace

PictureClient::PictureClient(asio::io_context& context, std::filesystem::path effect, int threads,
                             std::function<void(const std::string&)> crashed)
    : context_(context),
      effect_(std::move(effect)),
      threads_(threads),
      crashed_(std::move(crashed)) {}

PictureClient::~PictureClient() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  if (memory_ >= 0) close(memory_);
}

void PictureClient::Ask(Json::Value request, const std::string& lane, Done done) {
  if (!lane.empty()) {
    const auto is_old = [&](const Wanted& wanted) { return wanted.lane == lane; };
    for (Wanted& wanted : waiting_) {
      if (is_old(wanted)) wanted.done(Cancelled());
    }
    waiting_.erase(std::remove_if(waiting_.begin(), waiting_.end(), is_old), waiting_.end());
    if (current_ && is_old(*current_)) {
      Json::Value cancel;
      cancel["cancel"] = current_->request["id"];
      const std::string text = Framed(cancel);
      // It is short, and the worker always listens.
      error_code ignored;
      asio::write(*line_, asio::buffer(text), ignored);
    }
  }
  request["id"] = ++last_id_;
  waiting_.push_back({std::move(request), lane, std::move(done)});
  SendNext();
}

void PictureClient::Start() {
  // Above the numbers that they get in the worker.
  const auto moved_up = [](int descriptor) {
    const int high = fcntl(descriptor, F_DUPFD_CLOEXEC, 10);
    close(descriptor);
    return high;
  };
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    throw FileError(fmt::format("cannot start a worker: {}", std::strerror(errno)));
  }
  const int theirs = moved_up(ends[1]);
  line_.emplace(context_, asio::local::stream_protocol(), moved_up(ends[0]));
  if (memory_ < 0) memory_ = moved_up(memfd_create("vorlin-picture", MFD_CLOEXEC));
  try {
    process_ = StartOwnProgram(
        {"studio-worker", "--effect", effect_.string(), "--threads", std::to_string(threads_)},
        {{theirs, kWorkerLine}, {memory_, kWorkerMemory}}, false);
  } catch (...) {
    close(theirs);
    throw;
  }
  close(theirs);
}

void PictureClient::SendNext() {
  if (current_ || waiting_.empty()) return;
  current_ = std::move(waiting_.front());
  waiting_.pop_front();
  try {
    if (process_ == 0) Start();
  } catch (const Error& error) {
    PictureAnswer answer;
    answer.head["error"] = error.what();
    Finish(std::move(answer));
    return;
  }
  outgoing_ = Framed(current_->request);
  asio::async_write(*line_, asio::buffer(outgoing_), [](const error_code&, std::size_t) {});
  AwaitAnswer();
}

void PictureClient::AwaitAnswer() {
  asio::async_read(
      *line_, asio::buffer(&length_, sizeof length_), [this](const error_code& error, std::size_t) {
        if (error == asio::error::operation_aborted) return;
        if (error || length_ > kLongestMessage) return OnEnd();
        incoming_.resize(length_);
        asio::async_read(*line_, asio::buffer(incoming_), [this](const error_code& e, std::size_t) {
          if (e == asio::error::operation_aborted) return;
          if (e) return OnEnd();
          PictureAnswer answer;
          try {
            answer.head = ParseMessage(incoming_);
            answer.bytes = TakeBytes(answer.head["bytes"].asUInt64());
          } catch (const Error&) {  // whatever it is, it is no answer
            return OnEnd();
          }
          Finish(std::move(answer));
        });
      });
}

void PictureClient::Finish(PictureAnswer answer) {
  const Wanted wanted = std::move(*current_);
  current_.reset();
  wanted.done(std::move(answer));
  SendNext();
}

void PictureClient::OnEnd() {
  line_.reset();
  ProcessEnd end{};
  kill(process_, SIGKILL);
  waitpid(process_, &end.status, 0);
  process_ = 0;
  const std::string text =
      fmt::format("the process that renders {}; it is started anew", end.Text());
  crashed_(text);
  PictureAnswer answer;
  answer.head["error"] = text;
  Finish(std::move(answer));
}

std::string PictureClient::TakeBytes(std::size_t size) const {
  std::string bytes(size, '\0');
  std::size_t at = 0;
  while (at < size) {
    const ssize_t got = pread(memory_, bytes.data() + at, size - at, static_cast<off_t>(at));
    if (got <= 0) throw FileError("a picture was lost on its way from the worker");
    at += static_cast<std::size_t>(got);
  }
  return bytes;
}

}  // namespace app
