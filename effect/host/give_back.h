// Giving back what the host lent for a stretch of code, however that stretch ends.
#pragma once

namespace vorlin {

/// Returns use(), having called give_back() after it. When use throws, its exception passes on and
/// one of give_back's is dropped.
template <class Use, class GiveBack>
auto UseThenGiveBack(Use use, GiveBack give_back) {
  const auto result = [&] {
    try {
      return use();
    } catch (...) {
      try {
        give_back();
      } catch (...) {  // the first exception is the cause
      }
      throw;
    }
  }();
  give_back();
  return result;
}

}  // namespace vorlin
