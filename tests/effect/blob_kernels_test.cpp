// Every vector unit that this machine has gives the bytes of the plain loop, and touches nothing
// else.
#include "render/blob_kernels.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace vorlin;

struct Blob {
  double cx, cy, radius, amplitude, scale_x, scale_y;
  int columns, rows;
};

/// The blob on a field of old content with room around the box, as one kernel leaves it.
std::vector<float> FieldAfter(BlobKernel add, const Blob& blob, std::vector<float> field,
                              int stride) {
  const double r2 = blob.radius * blob.radius;
  add({.cells = field.data() + stride + 3,
       .rowbytes = stride * static_cast<std::ptrdiff_t>(sizeof(float)),
       .columns = blob.columns,
       .rows = blob.rows,
       .dx = blob.cx * blob.scale_x,
       .column = blob.scale_x,
       .centre_y = 5 + blob.cy,
       .first_row = 5,
       .row = blob.scale_y,
       .r2 = r2,
       .inv = 1.0 / r2,
       .amplitude = blob.amplitude});
  return field;
}

TEST(BlobKernels, GiveThePlainLoopsBytes) {
  const auto kernels = BlobKernels();
  ASSERT_EQ(kernels.front().add, AddBlobPlain);
  std::mt19937 random(7);
  const auto between = [&](double a, double b) {
    return std::uniform_real_distribution<double>(a, b)(random);
  };
  int changed = 0;
  for (int i = 0; i < 3000; ++i) {
    Blob blob{};
    blob.columns = std::uniform_int_distribution<int>(1, i % 3 == 0 ? 400 : 60)(random);
    blob.rows = std::uniform_int_distribution<int>(1, 40)(random);
    blob.scale_x = i % 5 == 0 ? between(0.1, 3.0) : 1.0;
    blob.scale_y = i % 7 == 0 ? between(0.1, 3.0) : 1.0;
    blob.radius = between(0.25, blob.columns * 0.7 * blob.scale_x);
    blob.cx = between(-0.3, 1.3) * blob.columns;
    blob.cy = between(-0.3, 1.3) * blob.rows;
    blob.amplitude = i % 2 == 0 ? 1.0 : between(-2.0, 2.0);
    const int stride = blob.columns + 7;
    std::vector<float> field(static_cast<std::size_t>(stride * (blob.rows + 2)));
    const float old[]{-0.25F, 0.0F, -0.0F, 3.5F, std::numeric_limits<float>::quiet_NaN(), 1e38F};
    for (float& cell : field) cell = old[random() % 6];

    const std::vector<float> expected = FieldAfter(AddBlobPlain, blob, field, stride);
    const std::size_t bytes = field.size() * sizeof(float);
    if (std::memcmp(expected.data(), field.data(), bytes) != 0) ++changed;
    for (const NamedBlobKernel& kernel : kernels.subspan(1)) {
      const std::vector<float> fast = FieldAfter(kernel.add, blob, field, stride);
      ASSERT_EQ(std::memcmp(fast.data(), expected.data(), bytes), 0)
          << kernel.name << ", blob " << i << ": " << blob.columns << " x " << blob.rows
          << ", centre " << blob.cx << " " << blob.cy << ", radius " << blob.radius;
    }
  }
  EXPECT_GT(changed, 2000);  // most blobs reach some cell
}

}  // namespace
