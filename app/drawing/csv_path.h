#pragma once

#include <string>

#include "pen_times.h"

namespace app {

/// Rows of a table as a key each. The first row may name the columns: "x", "y", "frame" or "time"
/// (seconds), and "pen" (0 where it is up); else they are frame, x and y. There are `frame_rate`
/// frames a second. Other columns and blank rows are passed over. `file` begins each message.
/// Throws InputError.
DrawnStrokes ReadCsvPath(const std::string& file, const std::string& csv, double frame_rate);

}  // namespace app
