#include <algorithm>
#include <cstring>
#include <string_view>

#include "entry_callbacks.h"
#include "entry_running.h"
#include "invariant.h"

namespace fuzz {
namespace {

template <class... Wishes>
PF_Err NewWorld(PF_ProgPtr, A_long width, A_long height, Wishes..., PF_EffectWorld* made) {
  if (const PF_Err err = Arrive(CallKind::kNewWorld)) return err;
  const Scratch scratch = Now().plan.scratch;
  Require(width <= 64 && height <= 64, "a world larger than any of the host's");
  auto world = std::make_unique<World>(width, height);
  PF_EffectWorld& view = world->view;
  if (scratch == Scratch::kLow) --view.height;
  if (scratch == Scratch::kNarrow) --view.width;
  if (scratch == Scratch::kNoData) view.data = nullptr;
  if (scratch == Scratch::kOddRows) view.rowbytes -= 1;
  if (scratch == Scratch::kCrooked) {
    view.data = reinterpret_cast<PF_Pixel*>(reinterpret_cast<char*>(view.data) + 1);
  }
  *made = view;
  Now().worlds.push_back(std::move(world));
  return PF_Err_NONE;
}

PF_Err DisposeWorld(PF_ProgPtr, PF_EffectWorld* disposed) {
  auto& worlds = Now().worlds;
  const auto found = std::find_if(worlds.begin(), worlds.end(), [&](const auto& world) {
    return world->view.data == disposed->data;
  });
  Require(found != worlds.end(), "a world disposed of that was not made");
  Require((*found)->PaddingIsSound(), "the effect wrote beside its own world");
  worlds.erase(found);
  return Arrive(CallKind::kDisposeWorld);
}

PF_Err GetPixelFormat(const PF_EffectWorld* view, PF_PixelFormat* format) {
  if (const PF_Err err = Arrive(CallKind::kGetPixelFormat)) return err;
  const std::size_t bytes = Now().Find(*view).pixel_bytes;
  const Format told = Now().plan.format;
  *format = told == Format::kInvalid   ? PF_PixelFormat_INVALID
            : told == Format::kUnknown ? 0x1234
            : bytes == 4               ? PF_PixelFormat_ARGB32
            : bytes == 8               ? PF_PixelFormat_ARGB64
                                       : PF_PixelFormat_ARGB128;
  return PF_Err_NONE;
}

const PF_WorldSuite1 kWorld1{NewWorld<PF_NewWorldFlags>, DisposeWorld};
const PF_WorldSuite2 kWorld2{NewWorld<PF_Boolean, PF_PixelFormat>, DisposeWorld, GetPixelFormat};

struct SuiteEntry {
  const char* name;
  std::int32_t version;
  const void* table;
  std::size_t functions;
};

template <class Table>
constexpr SuiteEntry Entry(const char* name, std::int32_t version, const Table& table) {
  return {name, version, &table, sizeof(Table) / sizeof(void*)};
}

const std::array<SuiteEntry, kSuites> kTables{{
    Entry(kPFWorldSuite, 1, kWorld1),
    Entry(kPFWorldSuite, 2, kWorld2),
    Entry(kPFParamUtilsSuite, 1, kParamUtils),
    Entry(kPFSampling8Suite, 1, kSampling8),
    Entry(kPFSampling16Suite, 1, kSampling16),
    Entry(kPFSamplingFloatSuite, 1, kSamplingFloat),
    Entry(kPFIterateFloatSuite, 1, kIterateFloat),
    Entry(kPFColorParamSuite, 1, kColorParam),
    Entry(kAEGPPFInterfaceSuite, 1, kPFInterface),
    Entry(kAEGPLayerSuite, 5, kLayer),
    Entry(kAEGPLightSuite, 1, kLight),
    Entry(kAEGPStreamSuite, 4, kStream),
}};

std::size_t SuiteIndex(std::string_view name, std::int32_t version) {
  const auto found = std::find_if(kTables.begin(), kTables.end(), [&](const SuiteEntry& entry) {
    return entry.name == name && entry.version == version;
  });
  return static_cast<std::size_t>(found - kTables.begin());
}

SPErr AcquireSuite(const char* name, std::int32_t version, const void** suite) {
  const std::size_t index = SuiteIndex(name, version);
  *suite = nullptr;
  // Without World Suite 2 the format is told from the world's flags.
  if (const PF_Err err = Arrive(CallKind::kAcquireSuite, index != 1)) return err;
  if (index == kSuites || Now().plan.suites[index] == 1) return 77;
  const std::uint8_t mode = Now().plan.suites[index];
  if (mode == 2) return 0;
  auto& table = Now().tables[index];
  std::memcpy(table.data(), kTables[index].table, kTables[index].functions * sizeof(void*));
  if (mode >= 3) table[(mode - 3) % kTables[index].functions] = nullptr;
  ++Now().acquired[index];
  *suite = table.data();
  return 0;
}

SPErr ReleaseSuite(const char* name, std::int32_t version) {
  const std::size_t index = SuiteIndex(name, version);
  Require(index < kSuites && Now().acquired[index] > 0, "a suite released that was not acquired");
  --Now().acquired[index];
  return Arrive(CallKind::kReleaseSuite);
}

}  // namespace

const SPBasicSuite kBasic{AcquireSuite, ReleaseSuite};

}  // namespace fuzz
