#pragma once

#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace app {

/// What the program ends with; scripts rely on the numbers. A signal ends it with 128 + its number.
enum class ExitCode { kDone = 0, kWrongInput = 2, kFile = 3, kEffect = 4 };

/// Ends the program with one line on standard error, or with a line for each of several mistakes.
class Error : public std::runtime_error {
 public:
  Error(ExitCode code, const std::string& message, std::vector<std::string> others = {})
      : std::runtime_error(message), code_(code), others_(std::move(others)) {}

  ExitCode code() const { return code_; }
  /// What else is wrong, besides what().
  const std::vector<std::string>& others() const { return others_; }

 private:
  ExitCode code_;
  std::vector<std::string> others_;
};

/// The scene or an argument is wrong.
struct InputError : Error {
  explicit InputError(const std::string& message, std::vector<std::string> others = {})
      : Error(ExitCode::kWrongInput, message, std::move(others)) {}
};

/// A file or folder cannot be read or written.
struct FileError : Error {
  explicit FileError(const std::string& message, std::vector<std::string> others = {})
      : Error(ExitCode::kFile, message, std::move(others)) {}
};

/// Gathers mistakes, so that all of a text's are told at once.
class Mistakes {
 public:
  /// What `f` throws as InputError or FileError is noted.
  template <class F>
  void Try(const F& f) {
    try {
      f();
    } catch (const Error& error) {
      Note(error);
    }
  }
  /// When there was any, throws what the first of them was.
  void Tell() const;

 private:
  void Note(const Error& error);

  std::optional<Error> first_;
  std::vector<std::string> others_;
};

/// Any exception as what the program ends with; its messages are lines without control
/// characters, which a name from a file may hold.
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
