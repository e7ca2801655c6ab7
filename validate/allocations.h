// Makes chosen allocations of the effect fail. The program's operator new is the one that the
// effect's library finds too; what tells the effect's allocations from the rest is the address that
// they return to.
#pragma once

#include <cstdint>

#include "pf_effect.h"

namespace validate::allocations {

/// Counts, from now on, allocations made by the library that entry lies in.
void Watch(PF_MainEntry entry);

struct Failing {
  std::uint64_t at = 0;  // counted from 1; 0: none
  bool from_then_on = false;
};

/// Starts counting anew.
void Plan(Failing failing);
/// Since Plan.
std::uint64_t Made();

}  // namespace validate::allocations
