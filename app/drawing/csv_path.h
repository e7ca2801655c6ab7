#pragma once

#include <string>
#include <vector>

#include "hosting/keyframes.h"

namespace app {

/// Rows "frame,x,y" as a key each, `frame_rate` frames a second. The first row may be a heading,
/// blank rows are passed over. `file` begins each message. Throws InputError.
std::vector<hosting::Key<hosting::Point>> ReadCsvPath(const std::string& file,
                                                      const std::string& csv, double frame_rate);

}  // namespace app
