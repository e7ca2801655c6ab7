#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace app {

/// A program of the user's that reads what it is given through a pipe, found by PATH and started
/// without a shell. It is killed with this object, or when this process dies.
class ToolProcess {
 public:
  /// Throws FileError when the program cannot be started.
  explicit ToolProcess(const std::vector<std::string>& command);
  ~ToolProcess();
  ToolProcess(const ToolProcess&) = delete;
  ToolProcess& operator=(const ToolProcess&) = delete;

  /// Both do not block: write at most what there is room for, and read what is there.
  int input() const { return input_; }
  int errors() const { return errors_; }
  /// No more input will come.
  void CloseInput();
  /// Reads what the program has to say; false once it has closed its standard error.
  bool ReadErrors();
  /// Waits for the program's end. Throws FileError with the last line that it said unless it ended
  /// well.
  void Finish();

 private:
  std::string name_;
  pid_t process_ = 0;
  int input_ = -1;
  int errors_ = -1;
  std::string said_;
};

}  // namespace app
