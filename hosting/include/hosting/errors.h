// What goes wrong in the host library, as exceptions whose what() is one line for the user.
#pragma once

#include <stdexcept>
#include <string>

#include "pf_effect.h"

namespace hosting {

/// Something was asked for that cannot be: the line names the thing, its value and what is
/// possible.
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The effect answered a command with a non-zero code.
class EffectError : public Error {
 public:
  EffectError(PF_Cmd command, PF_Err code);
  PF_Cmd command() const { return command_; }
  PF_Err code() const { return code_; }
  bool cancelled() const { return code_ == PF_Interrupt_CANCEL; }

 private:
  PF_Cmd command_;
  PF_Err code_;
};

/// The effect broke the interface's bookkeeping; the line names the command and the call.
class Breach : public Error {
 public:
  using Error::Error;
};

/// Published name of a command, as "PF_Cmd_RENDER"; "command 99" when it has none.
std::string CommandName(PF_Cmd command);
/// Published name of a result code; "code 99" when it has none.
std::string CodeName(PF_Err code);

}  // namespace hosting
