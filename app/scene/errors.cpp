#include "errors.h"

#include <algorithm>
#include <cctype>
#include <new>

#include "hosting/errors.h"

namespace app {

Error AsError(const std::exception_ptr& exception) {
  const auto one_line = [](std::string text) {
    const auto is_control = [](unsigned char c) { return std::iscntrl(c) != 0; };
    std::replace_if(text.begin(), text.end(), is_control, ' ');
    return text;
  };
  try {
    std::rethrow_exception(exception);
  } catch (const Error& error) {
    return {error.code(), one_line(error.what())};
  } catch (const hosting::Error& error) {
    return {ExitCode::kEffect, one_line(error.what())};
  } catch (const std::bad_alloc&) {
    return FileError("there is not enough memory");
  } catch (const std::exception& error) {
    return FileError(one_line(error.what()));
  }
}

}  // namespace app
