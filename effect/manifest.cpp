// Prints what the host's property resource of the effect must say, as JSON, from the constants that
// global setup answers with.

#include <cstdio>

#include "host/controls.h"
#include "host/identity.h"

int main() {
  using namespace vorlin;
  const int printed = std::printf(
      "{\n"
      "  \"kind\": \"effect\",\n"
      "  \"name\": \"%s\",\n"
      "  \"category\": \"%s\",\n"
      "  \"entry_point\": \"%s\",\n"
      "  \"version\": %u,\n"
      "  \"version_text\": \"%d.%d\",\n"
      "  \"out_flags\": %d,\n"
      "  \"out_flags2\": %d,\n"
      "  \"num_params\": %d\n"
      "}\n",
      kEffectName, kCategory, kEntryPoint, static_cast<unsigned>(kMyVersion), kMajorVersion,
      kMinorVersion, static_cast<int>(kOutFlags), static_cast<int>(kOutFlags2), kParamCount);
  return printed > 0 && std::fflush(stdout) == 0 ? 0 : 1;
}
