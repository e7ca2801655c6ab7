// The host of all tests of the effect: answers every callback from a Situation and writes down each
// call with all its arguments.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "situation.h"

extern "C" PF_Err MainEntry(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                            PF_ParamDef* params[], PF_LayerDef* output, void* extra);

namespace testhost {

/// One call: its function and a run of the log's words.
struct Call {
  Callback callback;
  std::uint32_t first;
  std::uint32_t count;
};

/// All that a command leaves behind. Equal outcomes have equal members.
struct Outcome {
  PF_Err code = 0;
  std::string escaped;    // what kind of exception passed MainEntry; empty: none
  std::string ownership;  // what was not given back, or given back wrongly; empty: nothing
  std::vector<Call> calls;
  std::vector<std::int64_t> words;
  std::vector<std::byte> output;   // the whole buffer, padding and guards included
  std::vector<std::byte> records;  // in_data, out_data, params, worlds and extras, as bytes
  bool input_touched = false;
  std::array<int, static_cast<std::size_t>(Callback::kCount)> counts{};
};

/// Runs a command on a host of its own.
Outcome RunCommand(const Situation& situation, PF_MainEntry entry);

/// The first difference of two outcomes in words, or an empty text.
std::string FirstDifference(const Outcome& effect, const Outcome& reference);

std::string Text(const Outcome& outcome, std::size_t call);

}  // namespace testhost
