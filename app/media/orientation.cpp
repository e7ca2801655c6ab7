#include "orientation.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <variant>
#include <vector>

namespace app {

hosting::Picture Oriented(hosting::Picture picture, Orientation orientation) {
  const int code = static_cast<int>(orientation);
  if (code <= 1 || code > 8) return picture;
  const bool swapped = SwapsSides(orientation);
  const bool from_right = code == 2 || code == 3 || code == 7 || code == 8;
  const bool from_bottom = code == 3 || code == 4 || code == 6 || code == 7;
  const int stored_width = picture.width();
  const int stored_height = picture.height();
  const int width = swapped ? stored_height : stored_width;
  const int height = swapped ? stored_width : stored_height;
  return std::visit(
      [&]<class Channel>(const std::vector<Channel>& from) {
        std::vector<Channel> to;
        to.reserve(from.size());
        for (int y = 0; y < height; ++y) {
          for (int x = 0; x < width; ++x) {
            const int across = swapped ? y : x;
            const int down = swapped ? x : y;
            const int column = from_right ? stored_width - 1 - across : across;
            const int row = from_bottom ? stored_height - 1 - down : down;
            const auto pixel = from.begin() + 4 * (std::ptrdiff_t{row} * stored_width + column);
            to.insert(to.end(), pixel, pixel + 4);
          }
        }
        return hosting::Picture(width, height, std::move(to));
      },
      picture.pixels());
}

}  // namespace app
