#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <type_traits>

namespace app {

/// One end of a connection between two processes. Messages arrive whole and in order.
class MessageSocket {
 public:
  explicit MessageSocket(int descriptor) : descriptor_(descriptor) {}
  ~MessageSocket();
  MessageSocket(MessageSocket&& other) noexcept;
  MessageSocket& operator=(MessageSocket&&) = delete;

  int descriptor() const { return descriptor_; }

  /// From any thread. What the other end is no longer there to read is lost.
  template <class Message>
  void Send(const Message& message) const {
    static_assert(std::is_trivially_copyable_v<Message>);
    SendBytes(std::as_bytes(std::span(&message, 1)));
  }

  /// Waits for a message; nothing when the other end is gone or has no more to say.
  template <class Message>
  std::optional<Message> Receive() const {
    static_assert(std::is_trivially_copyable_v<Message>);
    std::optional<Message> message{std::in_place};
    if (!ReceiveBytes(std::as_writable_bytes(std::span(&*message, 1)))) message.reset();
    return message;
  }

  /// Tells the other end that there is no more to say.
  void EndSending() const;

 private:
  void SendBytes(std::span<const std::byte> bytes) const;
  bool ReceiveBytes(std::span<std::byte> bytes) const;

  int descriptor_;
};

/// How a process ended.
struct ProcessEnd {
  int status = 0;  // as waitpid has it
  long peak_kib = 0;

  /// By SIGKILL.
  bool killed() const;
  /// As "was killed by signal 11 (Segmentation fault)".
  std::string Text() const;
};

/// A process that was forked from this one and works for it.
class WorkerProcess {
 public:
  /// Runs `work` in a new process with its end of the socket. To be called while this process has
  /// but one thread. The new process ignores SIGINT and SIGTERM, and dies when this one does.
  /// Throws std::system_error.
  explicit WorkerProcess(const std::function<void(const MessageSocket&)>& work);
  /// Kills the process if it has not been waited for.
  ~WorkerProcess();
  WorkerProcess(WorkerProcess&& other) noexcept;
  WorkerProcess& operator=(WorkerProcess&&) = delete;

  const MessageSocket& socket() const { return socket_; }
  void Kill() const;
  /// Waits for the process to end.
  ProcessEnd Wait();

 private:
  WorkerProcess(const std::function<void(const MessageSocket&)>& work, std::array<int, 2> ends);

  pid_t process_;
  MessageSocket socket_;
};

}  // namespace app
