#pragma once

#include <cstdint>
#include <span>

#include "machines/simulated/model.h"

/// The keys of the simulated controller: what each one means in the model, and how the controller
/// writes its value as an integer of one, two or four bytes.
namespace simulated {

/// The four characters of a key or type name as a code, the first in the highest byte.
constexpr std::uint32_t four_characters(const char (&name)[5]) {
  std::uint32_t code = 0;
  for (int i = 0; i < 4; ++i) {
    code = (code << 8U) | static_cast<unsigned char>(name[i]);
  }
  return code;
}

/// A data type as the controller uses it: a value is stored as a whole number of steps. Values
/// outside of the range are held at its ends. A signed type never holds less than zero here: no
/// temperature of this machine falls below freezing.
struct ValueType {
  std::uint32_t code;
  std::uint32_t size;  ///< bytes
  double steps_per_unit;
  std::uint32_t most_steps;

  std::uint32_t encode(double value) const;
  double decode(std::uint32_t steps) const { return steps / steps_per_unit; }
};

struct Key {
  std::uint32_t code;
  const ValueType& type;
  double (*value)(const Model& model);
  void (*assign)(Model& model, double value);  ///< null: the key is read-only
};

/// Every key, in no order that means anything.
std::span<const Key> all_keys();

/// The key with this code, or null.
const Key* find_key(std::uint32_t code);

}  // namespace simulated
