#include "host/suite_handler.h"

#include "host/give_back.h"

namespace vorlin {

AEGP_SuiteHandler::AEGP_SuiteHandler(SPBasicSuite* basic) : basicSuite(basic) {
  if (basicSuite == nullptr) MissingSuiteError();
}

const void* AEGP_SuiteHandler::LoadSuite(const char* name, std::int32_t version) const {
  const void* table = nullptr;
  if (basicSuite->AcquireSuite(name, version, &table) != 0 || table == nullptr) MissingSuiteError();
  return table;
}

void AEGP_SuiteHandler::ReleaseSuite(const char* name, std::int32_t version) const {
  basicSuite->ReleaseSuite(name, version);
}

void AEGP_SuiteHandler::ReleaseAllSuites() const noexcept {
  for (std::size_t slot = 0; slot < kSuitePairCount; ++slot) {
    if (suiteSlots[slot] == nullptr) continue;
    IgnoringExceptions([&] { ReleaseSuite(kSuitePairs[slot].name, kSuitePairs[slot].version); });
  }
}

void AEGP_SuiteHandler::MissingSuiteError() const { throw int{PF_Err_BAD_CALLBACK_PARAM}; }

const void* AEGP_SuiteHandler::Slot(std::size_t slot) {
  if (suiteSlots[slot] == nullptr) {
    suiteSlots[slot] = LoadSuite(kSuitePairs[slot].name, kSuitePairs[slot].version);
  }
  return suiteSlots[slot];
}

}  // namespace vorlin
