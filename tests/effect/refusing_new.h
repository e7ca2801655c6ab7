// This program's allocations, of which those of one size can be made to fail.
#pragma once

#include <cstddef>

inline std::size_t g_refused_size = 0;
