// The host's C library. Unobserved, the effect gets the functions themselves.
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "command.h"

namespace hosting {
namespace {

A_FpLong Cos(A_FpLong v) { return std::cos(v); }
A_FpLong Pow(A_FpLong base, A_FpLong exponent) { return std::pow(base, exponent); }
A_FpLong Sin(A_FpLong v) { return std::sin(v); }
A_FpLong Sqrt(A_FpLong v) { return std::sqrt(v); }

/// These have no code to fail with.
void Tell(CallKind kind, std::initializer_list<Argument> arguments) {
  if (Command* const command = Command::Current()) command->ArriveFromAnyThread(kind, arguments);
}

template <CallKind kind, A_FpLong (*function)(A_FpLong)>
A_FpLong Told(A_FpLong v) {
  Tell(kind, {Arg("", v)});
  return function(v);
}

A_FpLong ToldPow(A_FpLong base, A_FpLong exponent) {
  Tell(CallKind::kPow, {Arg("", base), Arg("", exponent)});
  return Pow(base, exponent);
}

A_long ToldSprintf(A_char* text, const A_char* format, ...) {
  Tell(CallKind::kSprintf, {Arg("", format)});
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsprintf(text, format, arguments);
  va_end(arguments);
  return length;
}

A_char* ToldStrcpy(A_char* to, const A_char* from) {
  Tell(CallKind::kStrcpy, {Arg("", from)});
  return std::strcpy(to, from);
}

}  // namespace

PF_ANSICallbacks AnsiCallbacks(bool observed) {
  if (!observed) return {Cos, Pow, Sin, Sqrt, std::sprintf, std::strcpy};
  return {Told<CallKind::kCos, Cos>,   ToldPow,     Told<CallKind::kSin, Sin>,
          Told<CallKind::kSqrt, Sqrt>, ToldSprintf, ToldStrcpy};
}

}  // namespace hosting
