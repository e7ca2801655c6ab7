// AEGP_SuiteHandler: the suites one command has acquired, released when it ends.
#pragma once

#include <array>

#include "aegp_suites.h"
#include "host/suite_pairs.h"
#include "pf_suites.h"

namespace vorlin {

/// A pair of the table together with the record its table is read as.
template <class Table>
struct SuiteId {
  std::size_t slot;
};

inline constexpr SuiteId<PF_ParamUtilsSuite1> kParamUtilsSuite{SuiteSlot(kPFParamUtilsSuite, 1)};
inline constexpr SuiteId<PF_WorldSuite1> kWorldSuite1{SuiteSlot(kPFWorldSuite, 1)};
inline constexpr SuiteId<PF_WorldSuite2> kWorldSuite2{SuiteSlot(kPFWorldSuite, 2)};
inline constexpr SuiteId<PF_Sampling8Suite1> kSampling8Suite{SuiteSlot(kPFSampling8Suite, 1)};
inline constexpr SuiteId<PF_Sampling16Suite1> kSampling16Suite{SuiteSlot(kPFSampling16Suite, 1)};
inline constexpr SuiteId<PF_SamplingFloatSuite1> kSamplingFloatSuite{
    SuiteSlot(kPFSamplingFloatSuite, 1)};
inline constexpr SuiteId<PF_ColorParamSuite1> kColorParamSuite{SuiteSlot(kPFColorParamSuite, 1)};
inline constexpr SuiteId<PF_iterateFloatSuite1> kIterateFloatSuite{
    SuiteSlot(kPFIterateFloatSuite, 1)};
inline constexpr SuiteId<AEGP_PFInterfaceSuite1> kPFInterfaceSuite{
    SuiteSlot(kAEGPPFInterfaceSuite, 1)};
inline constexpr SuiteId<AEGP_LayerSuite5> kLayerSuite{SuiteSlot(kAEGPLayerSuite, 5)};
inline constexpr SuiteId<AEGP_LightSuite1> kLightSuite{SuiteSlot(kAEGPLightSuite, 1)};
inline constexpr SuiteId<AEGP_StreamSuite4> kStreamSuite{SuiteSlot(kAEGPStreamSuite, 4)};

/// Cache of acquired suites. A filled slot holds exactly one acquisition of its own pair and is
/// released under that pair when the handler is destroyed.
class AEGP_SuiteHandler {
 public:
  /// Throws MissingSuiteError when basic is null.
  explicit AEGP_SuiteHandler(SPBasicSuite* basic);
  ~AEGP_SuiteHandler() { ReleaseAllSuites(); }
  AEGP_SuiteHandler(const AEGP_SuiteHandler&) = delete;
  AEGP_SuiteHandler& operator=(const AEGP_SuiteHandler&) = delete;

  /// The table of a suite, acquired on first use; throws MissingSuiteError when the host has none.
  template <class Table>
  const Table& Use(SuiteId<Table> id) {
    return *static_cast<const Table*>(Slot(id.slot));
  }
  /// A function of it; one that the table lacks counts as a missing suite.
  template <class Table, class Function>
  Function Use(SuiteId<Table> id, Function Table::*member) {
    const Function function = Use(id).*member;
    if (function == nullptr) MissingSuiteError();
    return function;
  }

  /// Acquires a suite without keeping it; throws MissingSuiteError when the host has none.
  const void* LoadSuite(const char* name, std::int32_t version) const;
  void ReleaseSuite(const char* name, std::int32_t version) const;
  /// Releases every filled slot in the table's order, whatever the host answers or throws.
  void ReleaseAllSuites() const noexcept;
  /// Throws the integer PF_Err_BAD_CALLBACK_PARAM.
  [[noreturn]] void MissingSuiteError() const;

  SPBasicSuite* basicSuite;

 private:
  const void* Slot(std::size_t slot);

  std::array<const void*, kSuitePairCount> suiteSlots{};
};

}  // namespace vorlin
