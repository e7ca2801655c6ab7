#include "path_import.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "csv_path.h"
#include "errors.h"
#include "files.h"
#include "recorded_stroke.h"
#include "svg_drawing.h"

namespace app {
namespace {

using hosting::Point;

/// A rectangle around points.
struct Box {
  double left = HUGE_VAL;
  double top = HUGE_VAL;
  double right = -HUGE_VAL;
  double bottom = -HUGE_VAL;

  explicit Box(const std::vector<Stroke>& strokes) {
    for (const Stroke& stroke : strokes) {
      for (const Curve& curve : stroke) {
        for (const Point& p : curve) {
          left = std::min(left, p.x);
          top = std::min(top, p.y);
          right = std::max(right, p.x);
          bottom = std::max(bottom, p.y);
        }
      }
    }
  }
};

void Apply(const Affine& affine, std::vector<Stroke>& strokes) {
  for (Stroke& stroke : strokes) {
    for (Curve& curve : stroke) {
      for (Point& p : curve) p = affine(p);
    }
  }
}

/// Brings a rectangle of that size at that place into the middle of the layer, `part` of which it
/// may fill.
Affine Fitted(const LayerSize& layer, double left, double top, double width, double height,
              double part) {
  const double scale =
      part * std::min(layer.width / std::max(width, 1e-9), layer.height / std::max(height, 1e-9));
  return Affine::Translation(layer.width / 2.0, layer.height / 2.0) * Affine::Scale(scale, scale) *
         Affine::Translation(-left - width / 2, -top - height / 2);
}

/// What of the layer a drawing that is fitted into it fills, in each direction.
constexpr double kFilled = 0.8;

/// Moves a drawing from its page onto the layer.
void FitLayer(const LayerSize& layer, Drawing& drawing) {
  const double w = drawing.page_width;
  const double h = drawing.page_height;
  // A page is rarely exactly as wide as it should be.
  constexpr double kAlike = 0.02;
  const auto fit_drawing = [&](const char* why) {
    const Box box(drawing.strokes);
    Apply(Fitted(layer, box.left, box.top, box.right - box.left, box.bottom - box.top, kFilled),
          drawing.strokes);
    drawing.notes.emplace_back(fmt::format("{}; it is fitted into the picture", why));
  };
  if (drawing.has_picture) {
    Apply(Affine::Scale(layer.width, layer.height) * drawing.picture.Inverse(), drawing.strokes);
  } else if (!(w > 0 && h > 0)) {
    return fit_drawing("the drawing does not say how large its page is");
  } else if (std::abs(w * layer.height - h * layer.width) <= kAlike * h * layer.width) {
    Apply(Affine::Scale(layer.width / w, layer.height / h), drawing.strokes);
  } else {
    Apply(Fitted(layer, 0, 0, w, h, 1), drawing.strokes);
    drawing.notes.push_back(
        fmt::format("the drawing's page ({:.0f} x {:.0f}) and the picture ({} x {}) differ in "
                    "shape; it is fitted into the picture",
                    w, h, layer.width, layer.height));
  }
  const Box box(drawing.strokes);
  if (box.right < 0 || box.bottom < 0 || box.left > layer.width || box.top > layer.height) {
    fit_drawing("the drawing lies outside of its page");
  }
}

/// A key for each row made into few, stroke by stroke.
DrawnStrokes Fitted(const DrawnStrokes& rows, double pixels) {
  std::vector<hosting::Span> strokes = rows.pen;
  if (strokes.empty()) strokes.emplace_back();
  DrawnStrokes fitted{{}, rows.pen, rows.notes};
  for (const hosting::Span& span : strokes) {
    std::vector<RecordedPoint> recording;
    for (const auto& key : rows.keys) {
      // The row in which the pen goes up still belongs to the stroke.
      if (span.in <= key.seconds && key.seconds <= span.out) {
        recording.push_back({key.seconds, key.value});
      }
    }
    const auto keys = FitRecording(recording, {.smoothing = 2 * pixels, .tolerance = pixels});
    if (!fitted.keys.empty()) fitted.keys.back().hold = true;
    for (const auto& key : keys) {
      if (fitted.keys.empty() || fitted.keys.back().seconds < key.seconds)
        fitted.keys.push_back(key);
    }
  }
  fitted.notes.push_back(
      fmt::format("{} keys follow {} rows", fitted.keys.size(), rows.keys.size()));
  return fitted;
}

DrawnStrokes FromCsv(const PathImport& wanted, const std::string& csv) {
  const DrawnStrokes rows = ReadCsvPath(wanted.file.string(), csv, wanted.times.frame_rate.value());
  return wanted.fit > 0 ? Fitted(rows, wanted.fit) : rows;
}

DrawnStrokes FromSvg(const PathImport& wanted, const std::string& svg,
                     const std::optional<LayerSize>& layer) {
  Drawing drawing = ReadSvgDrawing(wanted.file.string(), svg, wanted.ids);
  if (layer) FitLayer(*layer, drawing);
  DrawnStrokes drawn = TimeStrokes(drawing.strokes, wanted.times, wanted.file.string());
  drawn.notes.insert(drawn.notes.begin(), drawing.notes.begin(), drawing.notes.end());
  return drawn;
}

}  // namespace

DrawnStrokes ImportPath(const PathImport& wanted, const std::string& text,
                        const std::optional<LayerSize>& layer) {
  const std::string extension = ExtensionOf(wanted.file);
  const std::string file = wanted.file.string();
  if (extension != ".svg" && extension != ".csv") {
    throw InputError(fmt::format("\"{}\": drawings are read from .svg or .csv", file));
  }
  DrawnStrokes drawn = extension == ".svg" ? FromSvg(wanted, text, layer) : FromCsv(wanted, text);
  for (const auto& key : drawn.keys) {
    for (const Point& p : {key.value, key.in_tangent, key.out_tangent}) {
      const auto within = [](double v) { return std::abs(v) <= hosting::kFixedLimit; };
      if (within(p.x) && within(p.y)) continue;
      throw InputError(fmt::format("{}: ({}, {}) is out of reach; points go to {} pixels", file,
                                   p.x, p.y, hosting::kFixedLimit));
    }
  }
  return drawn;
}

}  // namespace app
