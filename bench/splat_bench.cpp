// FX_DrawForce, on every vector unit of the machine, against the plain loop that defines its
// result.

#include <vector>

#include "ratios.h"
#include "render/blob_kernels.h"

namespace {

using namespace vorlin;

/// The definition, cell by cell.
void DrawForcePlainly(const FX_PAR& s, FX_D_Point centre, double amplitude, double radius,
                      const PF_LayerDef& field) {
  const double cx = centre.x * s.toBufferX;
  const double cy = centre.y * s.toBufferY;
  const double rx = radius * s.toBufferX;
  const double ry = radius * s.toBufferY;
  const int x0 = std::max(static_cast<int>(cx - rx), 0);
  const int x1 = std::min(static_cast<int>(cx + rx + 1.0), field.width - 1);
  const int y0 = std::max(static_cast<int>(cy - ry), 0);
  const int y1 = std::min(static_cast<int>(cy + ry + 1.0), field.height - 1);
  const double r2 = radius * radius;
  const double inv = 1.0 / r2;
  for (int y = y0; y <= y1; ++y) {
    float* const cells = FieldRow(field, y);
    const double dy = (cy - y) * s.toLayerY;
    double dx = (cx - x0) * s.toLayerX;
    for (int x = x0; x <= x1; ++x) {
      const double d2 = dx * dx + dy * dy;
      if (d2 < r2) {
        const double k = 1.0 - d2 * inv;
        cells[x] += static_cast<float>(amplitude * k * k);
      }
      dx -= s.toLayerX;
    }
  }
}

/// Blobs along a path, 4 pixels apart as at the default density.
template <class Draw>
void AlongAPath(benchmark::State& state, int width, int height, Draw draw) {
  std::vector<float> cells(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  PF_LayerDef field{};
  field.data = reinterpret_cast<PF_Pixel*>(cells.data());
  field.width = width;
  field.height = height;
  field.rowbytes = width * 4;
  int step = 0;
  for (auto _ : state) {
    step += 4;
    draw(field, FX_D_Point{step % width + 0.3, (step / 8) % height + 0.7, 0.0});
  }
  benchmark::DoNotOptimize(cells.data());
}

}  // namespace

int main(int argc, char** argv) {
  static constexpr FX_PAR kScales{1.0, 1.0, 1.0, 1.0, 1.0};
  struct Size {
    const char* name;
    int width;
    int height;
  };
  for (const Size& size : {Size{"1080p", 1920, 1080}, Size{"4K", 3840, 2160}}) {
    for (const double radius : {5.0, 17.6, 60.0, 250.0}) {
      char what[64];
      std::snprintf(what, sizeof what, "radius %g %s", radius, size.name);
      const auto loop = [size](auto draw) -> bench::Loop {
        return [=](benchmark::State& state) { AlongAPath(state, size.width, size.height, draw); };
      };
      bench::Pair(std::string("FX_DrawForce ") + what,
                  loop([radius](PF_LayerDef& field, FX_D_Point centre) {
                    FX_DrawForce(&kScales, centre, 1.0, radius, &field);
                  }),
                  std::string("plain loop ") + what,
                  loop([radius](PF_LayerDef& field, FX_D_Point centre) {
                    DrawForcePlainly(kScales, centre, 1.0, radius, field);
                  }));
    }
  }
  return bench::RunMain(argc, argv);
}
