// Rows of an image, worked on by several threads.
#pragma once

#include <functional>

#include "pf_types.h"
#include "workers.h"

namespace hosting {

/// Calls row(y) for all y in [first, end), each once, spread over the workers, and done(rows so
/// far) now and then, never from two threads at once. A non-zero result of row ends the work: the
/// lowest row's is returned, whichever came first. A non-zero result of done ends it too and is
/// returned unless a row failed. Exceptions of either are thrown on to the caller in the same way.
PF_Err ForEachRow(Workers& workers, int first, int end, const std::function<PF_Err(int y)>& row,
                  const std::function<PF_Err(int rows)>& done);

}  // namespace hosting
