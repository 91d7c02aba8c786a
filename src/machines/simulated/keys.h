#pragma once

#include <cstdint>
#include <span>

#include "machines/controller/value_type.h"
#include "machines/simulated/model.h"

/// The keys of the simulated controller: what each one means in the model, and how its value is
/// stored.
namespace simulated {

using controller::four_characters;
using controller::ValueType;

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
