// The blob kernel over any vector unit. Included only by the file of each unit, which is compiled
// for that unit; everything here has internal linkage and calls no function of another header's, so
// that no code of one unit is ever shared with code for all processors.
#pragma once

#include "render/blob_kernels.h"

namespace vorlin {
namespace {

// A Unit has a vector `Doubles` of kLanes doubles with Load, Broadcast, Add, Subtract and Multiply,
// and AddWhereLess(cells, d2..., r2, force...): adds each force, rounded to float, to its cell
// where d2 < r2, for one vector of cells or for two side by side.

/// What stays the same for all cells of a blob.
template <class Unit>
struct Profile {
  typename Unit::Doubles r2;
  typename Unit::Doubles inv;
  typename Unit::Doubles amplitude;
};

/// At amplitude 1, amplitude * k is k itself.
template <class Unit, bool kUnitAmplitude>
inline typename Unit::Doubles Force(const Profile<Unit>& p, typename Unit::Doubles d2) {
  const auto k = Unit::Subtract(Unit::Broadcast(1.0), Unit::Multiply(d2, p.inv));
  return Unit::Multiply(kUnitAmplitude ? k : Unit::Multiply(p.amplitude, k), k);
}

template <class Unit, bool kUnitAmplitude>
inline void AddOne(const Profile<Unit>& p, float* cells, typename Unit::Doubles d2) {
  Unit::AddWhereLess(cells, d2, p.r2, Force<Unit, kUnitAmplitude>(p, d2));
}

template <class Unit, bool kUnitAmplitude>
inline void AddTwo(const Profile<Unit>& p, float* cells, typename Unit::Doubles low,
                   typename Unit::Doubles high) {
  Unit::AddWhereLess(cells, low, high, p.r2, Force<Unit, kUnitAmplitude>(p, low),
                     Force<Unit, kUnitAmplitude>(p, high));
}

template <class Unit>
inline Profile<Unit> ProfileOf(const BlobStrip& strip) {
  return {Unit::Broadcast(strip.r2), Unit::Broadcast(strip.inv), Unit::Broadcast(strip.amplitude)};
}

/// The whole box at a fixed trip count: for a narrow blob cheaper than to ask which columns of a
/// row it covers.
template <class Unit, bool kUnitAmplitude, int kVectors>
void AddNarrow(const BlobStrip& strip) {
  const Profile<Unit> p = ProfileOf<Unit>(strip);
  typename Unit::Doubles dx2[kVectors];
  for (int i = 0; i < kVectors; ++i) dx2[i] = Unit::Load(strip.dx2 + i * Unit::kLanes);
  for (int y = strip.first_row; y <= strip.last_row; ++y) {
    float* const cells = strip.Row(y);
    const auto dy2 = Unit::Broadcast(strip.SquaredRowDistance(y));
#pragma GCC unroll 8
    for (int i = 0; i + 1 < kVectors; i += 2) {
      AddTwo<Unit, kUnitAmplitude>(p, cells + i * Unit::kLanes, Unit::Add(dx2[i], dy2),
                                   Unit::Add(dx2[i + 1], dy2));
    }
    if constexpr (kVectors % 2 != 0) {
      AddOne<Unit, kUnitAmplitude>(p, cells + (kVectors - 1) * Unit::kLanes,
                                   Unit::Add(dx2[kVectors - 1], dy2));
    }
  }
}

/// The blocks of columns that have cells inside the blob, followed from row to row. Distances fall
/// and then rise along a row, in rounded numbers too, so that they are one run.
template <int kBlock>
struct Chord {
  int first = 0;
  int last;  // exclusive

  void Follow(const BlobStrip& strip, int blocks, double dy2) {
    const double* const dx2 = strip.dx2;
    const auto inside = [&](int x) { return dx2[x] + dy2 < strip.r2; };
    while (first > 0 && inside(first * kBlock - 1)) --first;
    while (last < blocks && inside(last * kBlock)) ++last;
    // A block whose inner end lies outside is left only on the way towards the centre.
    while (first + 1 < last && !inside((first + 1) * kBlock - 1) &&
           dx2[(first + 1) * kBlock - 1] >= dx2[(first + 1) * kBlock]) {
      ++first;
    }
    while (last - 1 > first && !inside((last - 1) * kBlock) &&
           dx2[(last - 1) * kBlock] >= dx2[(last - 1) * kBlock - 1]) {
      --last;
    }
  }
};

template <class Unit, bool kUnitAmplitude>
void AddWide(const BlobStrip& strip) {
  constexpr int kBlock = 2 * Unit::kLanes;
  const Profile<Unit> p = ProfileOf<Unit>(strip);
  const int blocks = (strip.columns + kBlock - 1) / kBlock;
  Chord<kBlock> chord{.last = blocks};
  for (int y = strip.first_row; y <= strip.last_row; ++y) {
    const double row = strip.SquaredRowDistance(y);
    chord.Follow(strip, blocks, row);
    float* const cells = strip.Row(y);
    const auto dy2 = Unit::Broadcast(row);
    for (int x = chord.first * kBlock; x < chord.last * kBlock; x += kBlock) {
      AddTwo<Unit, kUnitAmplitude>(p, cells + x, Unit::Add(Unit::Load(strip.dx2 + x), dy2),
                                   Unit::Add(Unit::Load(strip.dx2 + x + Unit::kLanes), dy2));
    }
  }
}

template <class Unit, bool kUnitAmplitude>
void AddBlobOfAmplitude(const BlobStrip& strip) {
  switch ((strip.columns + Unit::kLanes - 1) / Unit::kLanes) {
    case 1:
      return AddNarrow<Unit, kUnitAmplitude, 1>(strip);
    case 2:
      return AddNarrow<Unit, kUnitAmplitude, 2>(strip);
    case 3:
      return AddNarrow<Unit, kUnitAmplitude, 3>(strip);
    case 4:
      return AddNarrow<Unit, kUnitAmplitude, 4>(strip);
    case 5:
      return AddNarrow<Unit, kUnitAmplitude, 5>(strip);
    case 6:
      return AddNarrow<Unit, kUnitAmplitude, 6>(strip);
    default:
      return AddWide<Unit, kUnitAmplitude>(strip);
  }
}

template <class Unit>
void AddBlob(const BlobStrip& strip) {
  if (strip.amplitude == 1.0) {
    AddBlobOfAmplitude<Unit, true>(strip);
  } else {
    AddBlobOfAmplitude<Unit, false>(strip);
  }
}

}  // namespace
}  // namespace vorlin
