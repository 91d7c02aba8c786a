#include "machines/simulated/keys.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace simulated {
namespace {

using namespace controller;  // the data types

double power(const Model& model) {
  return model.power_w();
}
double die(const Model& model) {
  return model.die_c();
}
double sink(const Model& model) {
  return model.sink_c();
}
double ambient(const Model& /*model*/) {
  return kAmbientC;
}
double age(const Model& model) {
  return std::floor(model.age_s());
}
double fan_count(const Model& /*model*/) {
  return kFans.size();
}

double force_bits(const Model& model) {
  return model.fans().force_bits();
}
void force(Model& model, double bits) {
  model.fans().set_force_bits(static_cast<std::uint16_t>(bits));
}

template <std::size_t fan>
double target(const Model& model) {
  return model.fans().target_rpm(fan);
}
template <std::size_t fan>
void aim(Model& model, double rpm) {
  model.fans().set_target_rpm(fan, rpm);
}
template <std::size_t fan>
double speed(const Model& model) {
  return model.fans().speed_rpm(fan);
}
template <std::size_t fan>
double most(const Model& /*model*/) {
  return kFans[fan].most_rpm;
}
template <std::size_t fan>
double least(const Model& /*model*/) {
  return kFans[fan].least_rpm;
}

constexpr Key kKeys[] = {
    {.code = four_characters("PC0C"), .type = kFp88, .value = power, .assign = nullptr},
    {.code = four_characters("TC0D"), .type = kSp78, .value = die, .assign = nullptr},
    {.code = four_characters("TC0P"), .type = kSp78, .value = sink, .assign = nullptr},
    {.code = four_characters("TA0P"), .type = kSp78, .value = ambient, .assign = nullptr},
    {.code = four_characters("FS! "), .type = kUi16, .value = force_bits, .assign = force},
    {.code = four_characters("F0Tg"), .type = kFpe2, .value = target<0>, .assign = aim<0>},
    {.code = four_characters("F1Tg"), .type = kFpe2, .value = target<1>, .assign = aim<1>},
    {.code = four_characters("F2Tg"), .type = kFpe2, .value = target<2>, .assign = aim<2>},
    {.code = four_characters("F0Ac"), .type = kFpe2, .value = speed<0>, .assign = nullptr},
    {.code = four_characters("F1Ac"), .type = kFpe2, .value = speed<1>, .assign = nullptr},
    {.code = four_characters("F2Ac"), .type = kFpe2, .value = speed<2>, .assign = nullptr},
    {.code = four_characters("F0Mx"), .type = kFpe2, .value = most<0>, .assign = nullptr},
    {.code = four_characters("F1Mx"), .type = kFpe2, .value = most<1>, .assign = nullptr},
    {.code = four_characters("F2Mx"), .type = kFpe2, .value = most<2>, .assign = nullptr},
    {.code = four_characters("F0Mn"), .type = kFpe2, .value = least<0>, .assign = nullptr},
    {.code = four_characters("F1Mn"), .type = kFpe2, .value = least<1>, .assign = nullptr},
    {.code = four_characters("F2Mn"), .type = kFpe2, .value = least<2>, .assign = nullptr},
    {.code = four_characters("FCnt"), .type = kUi8, .value = fan_count, .assign = nullptr},
    {.code = four_characters("Uptm"), .type = kUi32, .value = age, .assign = nullptr},
};

}  // namespace

std::span<const Key> all_keys() {
  return kKeys;
}

const Key* find_key(std::uint32_t code) {
  const auto* found = std::find_if(std::begin(kKeys), std::end(kKeys),
                                   [&](const Key& k) { return k.code == code; });
  return found == std::end(kKeys) ? nullptr : found;
}

}  // namespace simulated
