#include <cstdint>
#include <map>

#include "Assertion/assertion.h"
#include "SMC/SMC.h"
#include "SMC/truncate.h"

namespace {

struct Fan {
  unsigned short force_bit;
  std::string maximum_key;
};

constexpr const char* kForceRegister = "FS! ";

Fan find_fan(const std::string& name) {
  const std::map<std::string, Fan> fans{
      {"F0Tg", {1, "F0Mx"}}, {"F1Tg", {2, "F1Mx"}}, {"F2Tg", {4, "F2Mx"}}};
  const auto at = fans.find(name);
  if (at == fans.end()) {
    throw SMCException("Unrecognized SMC fan key \"" + name + "\"", 0);
  }
  return at->second;
}

}  // namespace

unsigned short SMC::fan_mask(const std::string& fan) const {
  return find_fan(fan).force_bit;
}

std::string SMC::fan_max(const std::string& fan) const {
  return find_fan(fan).maximum_key;
}

void SMC::set_fan(const std::string& fan, unsigned int rpm) {
  if (rpm > 65535) {
    throw SMCException("Fan \"" + fan + "\" speed out of range", 0);
  }
  const smc_key_data d = resolve(kForceRegister);
  assertion(is_unsigned_int(d.info.dataType), "is_unsigned_int(d.info.dataType)", "src/SMC", 94);
  assertion(integer_size(d.info.dataType) == int{sizeof(std::uint16_t)},
            "integer_size(d.info.dataType) == sizeof(uint16_t)", "src/SMC", 95);
  const unsigned short forced = get_short(d);
  write(d, forced | fan_mask(fan));

  const smc_key_data fk = resolve(fan);
  assertion(is_fixed_point(fk.info.dataType), "is_fixed_point(fk.info.dataType)", "src/SMC", 103);
  write(fk, rpm);
}

// Asserts nothing of the types, unlike the other: what the keys cannot hold, their encoding
// refuses.
void SMC::set_fan(const std::string& fan) {
  const float maximum = get_float(resolve(fan_max(fan)));

  const smc_key_data force_register = resolve(kForceRegister);
  const unsigned short forced = get_short(force_register);
  write(force_register, forced | fan_mask(fan));

  const int target = truncate_saturating<int>(maximum) & 0xFFFF;
  write(resolve(fan), target);
}

void SMC::default_fan(const std::string& fan) {
  const smc_key_data force_register = resolve(kForceRegister);
  const unsigned short forced = get_short(force_register);
  write(force_register, forced & ~fan_mask(fan));
}
