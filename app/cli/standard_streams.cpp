#include "standard_streams.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "errors.h"

namespace app {

void GuardStandardStreams() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);  // a file grown too large is an error like a full disk
  // The lowest free number is taken, so this fills 0, 1 and 2. Reading gives nothing, writing
  // fails.
  for (int stream = 0; stream < 3; ++stream) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY);
  }
}

void PrintResult(std::string_view text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (!written || std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw FileError(fmt::format("cannot write to standard output: {}", std::strerror(errno)));
  }
}

}  // namespace app
