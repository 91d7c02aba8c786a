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
    {four_characters("PC0C"), kFp88, power, nullptr},
    {four_characters("TC0D"), kSp78, die, nullptr},
    {four_characters("TC0P"), kSp78, sink, nullptr},
    {four_characters("TA0P"), kSp78, ambient, nullptr},
    {four_characters("FS! "), kUi16, force_bits, force},
    {four_characters("F0Tg"), kFpe2, target<0>, aim<0>},
    {four_characters("F1Tg"), kFpe2, target<1>, aim<1>},
    {four_characters("F2Tg"), kFpe2, target<2>, aim<2>},
    {four_characters("F0Ac"), kFpe2, speed<0>, nullptr},
    {four_characters("F1Ac"), kFpe2, speed<1>, nullptr},
    {four_characters("F2Ac"), kFpe2, speed<2>, nullptr},
    {four_characters("F0Mx"), kFpe2, most<0>, nullptr},
    {four_characters("F1Mx"), kFpe2, most<1>, nullptr},
    {four_characters("F2Mx"), kFpe2, most<2>, nullptr},
    {four_characters("F0Mn"), kFpe2, least<0>, nullptr},
    {four_characters("F1Mn"), kFpe2, least<1>, nullptr},
    {four_characters("F2Mn"), kFpe2, least<2>, nullptr},
    {four_characters("FCnt"), kUi8, fan_count, nullptr},
    {four_characters("Uptm"), kUi32, age, nullptr},
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
