#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace app {

/// What the program ends with; scripts rely on the numbers. A signal ends it with 128 + its number.
enum class ExitCode { kDone = 0, kWrongInput = 2, kFile = 3, kEffect = 4 };

/// Ends the program with one line on standard error.
class Error : public std::runtime_error {
 public:
  Error(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

/// The scene or an argument is wrong.
struct InputError : Error {
  explicit InputError(const std::string& message) : Error(ExitCode::kWrongInput, message) {}
};

/// A file or folder cannot be read or written.
struct FileError : Error {
  explicit FileError(const std::string& message) : Error(ExitCode::kFile, message) {}
};

/// Any exception as what the program ends with; its message is one line without control characters,
/// which a name from a file may hold.
Error AsError(const std::exception_ptr& exception);

/// The user asked to stop, by a signal.
struct Interrupted {
  int signal;
};

/// While one of these lives, SIGINT and SIGTERM are noted instead of ending the program at once. A
/// second signal of the same kind ends it.
class NotedSignals {
 public:
  NotedSignals();
  ~NotedSignals();
  NotedSignals(const NotedSignals&) = delete;
  NotedSignals& operator=(const NotedSignals&) = delete;

  /// The signal that arrived, or 0. From any thread.
  static int Arrived();
  /// Throws Interrupted when one arrived.
  static void Check();
};

}  // namespace app
