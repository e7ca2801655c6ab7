#pragma once

#include <CLI/Formatter.hpp>

namespace app {

/// Help whose lines fit a terminal of 80 columns.
class HelpFormat : public CLI::Formatter {
 public:
  HelpFormat() { column_width(28); }
  std::string make_option(const CLI::Option* option, bool is_positional) const override;
};

}  // namespace app
