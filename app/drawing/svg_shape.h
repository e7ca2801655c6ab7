#pragma once

#include <pugixml.hpp>
#include <string_view>
#include <vector>

#include "affine.h"
#include "svg_path.h"

namespace app {

/// What lengths in percent are parts of.
struct Viewport {
  double width = 0;
  double height = 0;
};

/// Along which side of the viewport a length runs.
enum class Along { kWidth, kHeight, kDiagonal };

/// An attribute of an element in pixels, 96 to an inch; `otherwise` when it is not there or is no
/// length.
double SvgLength(const pugi::xml_node& element, const char* attribute, Along along,
                 const Viewport& viewport, double otherwise = 0);

/// The way from an element's view box into a place of that size; none when it has no view box.
Affine ViewBoxTransform(const pugi::xml_node& element, const Viewport& place);

/// Whether an element of that name is a basic shape or a path.
bool IsShape(std::string_view name);

/// The outline of a shape, as SVG says where it begins and which way it goes. Throws InputError for
/// what is no path.
std::vector<Stroke> ShapeStrokes(const pugi::xml_node& shape, const Viewport& viewport);

}  // namespace app
