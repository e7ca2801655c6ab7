// The blob kernel over any vector unit. Included only by the file of each unit, which is compiled
// for that unit; everything here has internal linkage and calls no function of another header's, so
// that no code of one unit is ever shared with code for all processors.
#pragma once

#include "render/blob_kernels.h"

namespace vorlin {
namespace {

// A Unit has a vector `Doubles` of kLanes doubles with Gathered, Load, Store, Broadcast, Add,
// Subtract and Multiply, and AddWhereLess(cells, low, high, r2, force_low, force_high): adds each
// force, rounded to float, to its cell where the squared distance is less than r2, for two vectors
// of cells side by side.

inline int Least(int a, int b) { return a < b ? a : b; }

/// What stays the same for all cells of a blob.
template <class Unit>
struct Profile {
  typename Unit::Doubles r2;
  typename Unit::Doubles inv;
  typename Unit::Doubles amplitude;
};

template <class Unit>
inline typename Unit::Doubles Force(const Profile<Unit>& p, typename Unit::Doubles d2) {
  const auto k = Unit::Subtract(Unit::Broadcast(1.0), Unit::Multiply(d2, p.inv));
  return Unit::Multiply(Unit::Multiply(p.amplitude, k), k);
}

template <class Unit>
inline void AddTwo(const Profile<Unit>& p, float* cells, typename Unit::Doubles low,
                   typename Unit::Doubles high) {
  Unit::AddWhereLess(cells, low, high, p.r2, Force<Unit>(p, low), Force<Unit>(p, high));
}

template <class Unit>
inline Profile<Unit> ProfileOf(const BlobBox& box) {
  return {Unit::Broadcast(box.r2), Unit::Broadcast(box.inv), Unit::Broadcast(box.amplitude)};
}

/// The squared distances of the next columns; dx moves past them. Stepped, not multiplied: the
/// roundings of the steps belong to the result.
template <class Unit>
inline typename Unit::Doubles NextColumns(const BlobBox& box, double& dx) {
  double steps[Unit::kLanes];
#pragma GCC unroll 8
  for (double& step : steps) {
    step = dx;
    dx -= box.column;
  }
  const auto distances = Unit::Gathered(steps);
  return Unit::Multiply(distances, distances);
}

inline constexpr int kMostRows = 64;

/// The squared distances of a box's rows, from the first on.
template <class Unit>
class Rows {
 public:
  explicit Rows(const BlobBox& box)
      : row_(Unit::Add(Unit::Broadcast(box.first_row), Unit::Load(kCount))),
        centre_(Unit::Broadcast(box.centre_y)),
        height_(Unit::Broadcast(box.row)) {}

  /// Writes those of the next rows, up to kMostRows.
  void Next(int rows, double* dy2) {
    for (int y = 0; y < rows; y += Unit::kLanes) {
      const auto dy = Unit::Multiply(Unit::Subtract(centre_, row_), height_);
      Unit::Store(dy2 + y, Unit::Multiply(dy, dy));
      row_ = Unit::Add(row_, Unit::Broadcast(Unit::kLanes));
    }
  }

 private:
  static constexpr double kCount[8] = {0, 1, 2, 3, 4, 5, 6, 7};
  typename Unit::Doubles row_;
  typename Unit::Doubles centre_;
  typename Unit::Doubles height_;
};

/// The blocks of columns that have cells inside the blob, followed from row to row. Distances fall
/// and then rise along a row, in rounded numbers too, so that they are one run.
template <int kBlock>
struct Chord {
  int first = 0;
  int last;  // exclusive

  void Follow(const double* dx2, int blocks, double dy2, double r2) {
    const auto inside = [&](int x) { return dx2[x] + dy2 < r2; };
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

template <class Unit>
void AddBlob(const BlobBox& box) {
  constexpr int kLanes = Unit::kLanes;
  constexpr int kBlock = 2 * kLanes;
  constexpr int kMostColumns = 1024;  // 8 KiB of distances, which stay in the first cache
  const Profile<Unit> p = ProfileOf<Unit>(box);
  double dx = box.dx;
  for (int left = 0; left < box.columns; left += kMostColumns) {
    const int columns = Least(box.columns - left, kMostColumns);
    const int blocks = (columns + kBlock - 1) / kBlock;
    alignas(64) double dx2[kMostColumns];
    for (int x = 0; x < columns; x += kLanes) Unit::Store(dx2 + x, NextColumns<Unit>(box, dx));
    for (int x = columns; x < blocks * kBlock; ++x) dx2[x] = __builtin_inf();

    Chord<kBlock> chord{.last = blocks};
    Rows<Unit> distances(box);
    for (int top = 0; top < box.rows; top += kMostRows) {
      const int rows = Least(box.rows - top, kMostRows);
      alignas(64) double dy2[kMostRows];
      distances.Next(rows, dy2);
      for (int y = 0; y < rows; ++y) {
        chord.Follow(dx2, blocks, dy2[y], box.r2);
        float* const cells = box.Row(top + y) + left;
        const auto d = Unit::Broadcast(dy2[y]);
        for (int x = chord.first * kBlock; x < chord.last * kBlock; x += kBlock) {
          AddTwo<Unit>(p, cells + x, Unit::Add(Unit::Load(dx2 + x), d),
                       Unit::Add(Unit::Load(dx2 + x + kLanes), d));
        }
      }
    }
  }
}

}  // namespace
}  // namespace vorlin
