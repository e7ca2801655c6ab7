// FX_DrawForce, on every vector unit of the machine, against the plain loop that defines its
// result.

#include <algorithm>
#include <cstdio>
#include <vector>

#include "ratios.h"
#include "render/force_field.h"

namespace {

using namespace vorlin;

/// The definition, cell by cell.
void DrawForcePlainly(const FX_PAR* s, FX_D_Point centre, double amplitude, double radius,
                      PF_LayerDef* field) {
  const double cx = centre.x * s->toBufferX;
  const double cy = centre.y * s->toBufferY;
  const double rx = radius * s->toBufferX;
  const double ry = radius * s->toBufferY;
  const int x0 = std::max(static_cast<int>(cx - rx), 0);
  const int x1 = std::min(static_cast<int>(cx + rx + 1.0), field->width - 1);
  const int y0 = std::max(static_cast<int>(cy - ry), 0);
  const int y1 = std::min(static_cast<int>(cy + ry + 1.0), field->height - 1);
  const double r2 = radius * radius;
  const double inv = 1.0 / r2;
  for (int y = y0; y <= y1; ++y) {
    float* const cells = FieldRow(*field, y);
    const double dy = (cy - y) * s->toLayerY;
    double dx = (cx - x0) * s->toLayerX;
    for (int x = x0; x <= x1; ++x) {
      const double d2 = dx * dx + dy * dy;
      if (d2 < r2) {
        const double k = 1.0 - d2 * inv;
        cells[x] += static_cast<float>(amplitude * k * k);
      }
      dx -= s->toLayerX;
    }
  }
}

/// A field with blobs laid along a path, 4 pixels apart as at the default density. Nothing is known
/// to the compiler: the scales of a frame and the amplitude of a blob vary.
bench::Work AlongAPath(int width, int height, double radius, int blobs,
                       decltype(FX_DrawForce)* draw) {
  std::vector<FX_D_Point> path;
  for (int i = 0; i < std::max(blobs, 4096); ++i) {
    path.push_back({i * 4 % width + 0.3, i / 2 % height + 0.7, 0.0});
  }
  return [=, cells = std::vector<float>(static_cast<std::size_t>(width * height)),
          next = std::size_t{0}]() mutable {
    PF_LayerDef field{};
    field.data = reinterpret_cast<PF_Pixel*>(cells.data());
    field.width = width;
    field.height = height;
    field.rowbytes = width * 4;
    const FX_PAR scales{1.0, 1.0, 1.0, 1.0, 1.0};
    auto* call = draw;
    benchmark::DoNotOptimize(call);
    for (int i = 0; i < blobs; ++i) {
      call(&scales, path[next], 1.0, radius, &field);
      if (++next == path.size()) next = 0;
    }
    benchmark::DoNotOptimize(cells.data());
  };
}

}  // namespace

int main(int argc, char** argv) {
  struct Size {
    const char* name;
    int width;
    int height;
  };
  for (const Size& size : {Size{"1080p", 1920, 1080}, Size{"4K", 3840, 2160}}) {
    for (const double radius : {5.0, 17.6, 60.0, 250.0}) {
      const int blobs = static_cast<int>(1.0 + 1e5 / (radius * radius));
      const auto path = [=](decltype(FX_DrawForce)* draw) -> bench::MakeWork {
        return [=] { return AlongAPath(size.width, size.height, radius, blobs, draw); };
      };
      char name[64];
      std::snprintf(name, sizeof name, "FX_DrawForce/plain loop, radius %g, %s", radius, size.name);
      bench::Pair(name, blobs, bench::Ratio::kTimesFaster, path(FX_DrawForce),
                  path(DrawForcePlainly));
    }
  }
  return bench::RunMain(argc, argv);
}
