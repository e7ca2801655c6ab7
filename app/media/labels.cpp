#include "labels.h"

#include <array>
#include <cstdint>

namespace app {
namespace {

constexpr int kRows = 7;
constexpr int kColumns = 5;
constexpr PF_Pixel kInk{255, 208, 208, 204};

struct Letter {
  char character;
  std::array<std::uint8_t, kRows> rows;  // from the top; the leftmost pixel is bit 4
};

constexpr Letter kFont[] = {
    {'0', {0b01110, 0b10001, 0b10011, 0b10101, 0b11001, 0b10001, 0b01110}},
    {'1', {0b00100, 0b01100, 0b00100, 0b00100, 0b00100, 0b00100, 0b01110}},
    {'2', {0b01110, 0b10001, 0b00001, 0b00110, 0b01000, 0b10000, 0b11111}},
    {'3', {0b01110, 0b10001, 0b00001, 0b00110, 0b00001, 0b10001, 0b01110}},
    {'4', {0b00010, 0b00110, 0b01010, 0b10010, 0b11111, 0b00010, 0b00010}},
    {'5', {0b11111, 0b10000, 0b11110, 0b00001, 0b00001, 0b10001, 0b01110}},
    {'6', {0b00110, 0b01000, 0b10000, 0b11110, 0b10001, 0b10001, 0b01110}},
    {'7', {0b11111, 0b00001, 0b00010, 0b00100, 0b00100, 0b01000, 0b01000}},
    {'8', {0b01110, 0b10001, 0b10001, 0b01110, 0b10001, 0b10001, 0b01110}},
    {'9', {0b01110, 0b10001, 0b10001, 0b01111, 0b00001, 0b00010, 0b01100}},
    {'-', {0b00000, 0b00000, 0b00000, 0b01110, 0b00000, 0b00000, 0b00000}},
    {'.', {0b00000, 0b00000, 0b00000, 0b00000, 0b00000, 0b01100, 0b01100}},
    {'a', {0b00000, 0b00000, 0b01110, 0b00001, 0b01111, 0b10001, 0b01111}},
    {'b', {0b10000, 0b10000, 0b11110, 0b10001, 0b10001, 0b10001, 0b11110}},
    {'c', {0b00000, 0b00000, 0b01111, 0b10000, 0b10000, 0b10000, 0b01111}},
    {'d', {0b00001, 0b00001, 0b01111, 0b10001, 0b10001, 0b10001, 0b01111}},
    {'e', {0b00000, 0b00000, 0b01110, 0b10001, 0b11111, 0b10000, 0b01110}},
    {'f', {0b00110, 0b01000, 0b11100, 0b01000, 0b01000, 0b01000, 0b01000}},
    {'g', {0b00000, 0b00000, 0b01111, 0b10001, 0b01111, 0b00001, 0b01110}},
    {'h', {0b10000, 0b10000, 0b10110, 0b11001, 0b10001, 0b10001, 0b10001}},
    {'i', {0b00100, 0b00000, 0b01100, 0b00100, 0b00100, 0b00100, 0b01110}},
    {'j', {0b00010, 0b00000, 0b00110, 0b00010, 0b00010, 0b10010, 0b01100}},
    {'k', {0b10000, 0b10000, 0b10010, 0b10100, 0b11000, 0b10100, 0b10010}},
    {'l', {0b01100, 0b00100, 0b00100, 0b00100, 0b00100, 0b00100, 0b01110}},
    {'m', {0b00000, 0b00000, 0b11010, 0b10101, 0b10101, 0b10101, 0b10101}},
    {'n', {0b00000, 0b00000, 0b10110, 0b11001, 0b10001, 0b10001, 0b10001}},
    {'o', {0b00000, 0b00000, 0b01110, 0b10001, 0b10001, 0b10001, 0b01110}},
    {'p', {0b00000, 0b00000, 0b11110, 0b10001, 0b11110, 0b10000, 0b10000}},
    {'q', {0b00000, 0b00000, 0b01111, 0b10001, 0b01111, 0b00001, 0b00001}},
    {'r', {0b00000, 0b00000, 0b10110, 0b11000, 0b10000, 0b10000, 0b10000}},
    {'s', {0b00000, 0b00000, 0b01111, 0b10000, 0b01110, 0b00001, 0b11110}},
    {'t', {0b01000, 0b01000, 0b11100, 0b01000, 0b01000, 0b01001, 0b00110}},
    {'u', {0b00000, 0b00000, 0b10001, 0b10001, 0b10001, 0b10011, 0b01101}},
    {'v', {0b00000, 0b00000, 0b10001, 0b10001, 0b10001, 0b01010, 0b00100}},
    {'w', {0b00000, 0b00000, 0b10001, 0b10101, 0b10101, 0b10101, 0b01010}},
    {'x', {0b00000, 0b00000, 0b10001, 0b01010, 0b00100, 0b01010, 0b10001}},
    {'y', {0b00000, 0b00000, 0b10001, 0b10001, 0b01111, 0b00001, 0b01110}},
    {'z', {0b00000, 0b00000, 0b11111, 0b00010, 0b00100, 0b01000, 0b11111}},
};

void DrawLetter(hosting::World& world, const Letter& letter, int left, int top, int scale) {
  for (int y = 0; y < kRows * scale; ++y) {
    for (int x = 0; x < kColumns * scale; ++x) {
      const int row = letter.rows[static_cast<std::size_t>(y / scale)];
      if ((row >> (kColumns - 1 - x / scale) & 1) == 0) continue;
      if (left + x < 0 || left + x >= world.width() || top + y >= world.height()) continue;
      world.Row<PF_Pixel>(top + y)[left + x] = kInk;
    }
  }
}

}  // namespace

void DrawLabel(hosting::World& world, std::string_view text, int centre, int top, int scale) {
  int left = centre - static_cast<int>(text.size()) * kLetterWidth * scale / 2;
  for (const char character : text) {
    for (const Letter& letter : kFont) {
      if (letter.character == character) DrawLetter(world, letter, left, top, scale);
    }
    left += kLetterWidth * scale;
  }
}

}  // namespace app
