#pragma once

#include <cstdint>
#include <string>

namespace controller {

/// The four characters of a key or type name as a code, the first in the highest byte.
constexpr std::uint32_t four_characters(const char (&name)[5]) {
  std::uint32_t code = 0;
  for (int i = 0; i < 4; ++i) {
    code = (code << 8U) | static_cast<unsigned char>(name[i]);
  }
  return code;
}

/// The characters of such a code.
inline std::string characters_of(std::uint32_t code) {
  std::string name;
  for (const unsigned shift : {24U, 16U, 8U, 0U}) {
    name += static_cast<char>((code >> shift) & 0xFFU);
  }
  return name;
}

/// A data type as the controller uses it: a value is stored as a whole number of steps, in `size`
/// bytes. Values outside of the range are held at its ends.
struct ValueType {
  std::uint32_t code;
  std::uint32_t size;  ///< bytes
  double steps_per_unit;
  std::uint32_t most_steps;
  bool has_sign = false;  ///< the integer part's alone: -0.5 is stored as -1 and one half

  std::uint32_t encode(double value) const;
  double decode(std::uint32_t stored) const;
};

inline constexpr ValueType kUi8{four_characters("ui8 "), 1, 1, 0xFF};
inline constexpr ValueType kUi16{four_characters("ui16"), 2, 1, 0xFFFF};
inline constexpr ValueType kUi32{four_characters("ui32"), 4, 1, 0xFFFFFFFF};
inline constexpr ValueType kFp88{four_characters("fp88"), 2, 256, 0xFFFF};
inline constexpr ValueType kFpe2{four_characters("fpe2"), 2, 4, 0xFFFF};
inline constexpr ValueType kSp78{four_characters("sp78"), 2, 256, 0x7FFF, true};

}  // namespace controller
