#include <cstdint>

#include "Assertion/assertion.h"
#include "SMC/SMC.h"

namespace {

constexpr int kCharacters = 4;

constexpr int shift_of(int character) {
  return 8 * (kCharacters - 1 - character);
}

bool has_family(smc_code type, char first, char second) {
  const auto family = static_cast<smc_code>((first << 8) | second);
  return type >> 16 == family;
}

}  // namespace

smc_code SMC::key(const std::string& name) {
  if (name.size() != kCharacters) {
    throw SMCException("Malformed SMC key \"" + name + "\"", 0);
  }
  smc_code code = 0;
  for (int i = 0; i < kCharacters; ++i) {
    const auto byte = static_cast<unsigned char>(name[static_cast<std::size_t>(i)]);
    // Widened with its sign, and kept so: a character of 0x80 or above sets every bit above its
    // own byte as well. No key of a controller has one.
    const smc_code widened = byte < 0x80 ? byte : 0xFFFFFF00U | byte;
    code |= widened << shift_of(i);
  }
  return code;
}

std::string SMC::name(const smc_code& code) {
  std::string characters;
  for (int i = 0; i < kCharacters; ++i) {
    characters += static_cast<char>((code >> shift_of(i)) & 0xFF);
  }
  return characters;
}

bool SMC::is_unsigned_int(const smc_code& type) {
  return has_family(type, 'u', 'i');
}

bool SMC::is_signed_int(const smc_code& type) {
  return has_family(type, 's', 'i');
}

bool SMC::is_fixed_point(const smc_code& type) {
  return has_family(type, 'f', 'p');
}

bool SMC::is_signed_point(const smc_code& type) {
  return has_family(type, 's', 'p');
}

int SMC::integer_size(const smc_code& type) {
  if (type == key("ui8 ") || type == key("si8 ")) {
    return 1;
  }
  if (type == key("ui16") || type == key("si16")) {
    return 2;
  }
  if (type == key("ui32") || type == key("si32")) {
    return 4;
  }
  throw SMCException("Asked for the size of non-integral/unrecognized type", 0);
}

int SMC::single_ascii_hex_to_int(char digit) {
  if (digit >= '0' && digit <= '9') {
    return digit - '0';
  }
  if (digit >= 'a' && digit <= 'f') {
    return digit - 'a' + 10;
  }
  throw SMCException("Cannot parse hex integer", 0);
}

int SMC::fixed_point_integer_width(const smc_code& type) {
  assertion(is_fixed_point(type) || is_signed_point(type),
            "is_fixed_point(type) || is_signed_point(type)", "src/SMC");
  const int integer = single_ascii_hex_to_int(static_cast<char>((type >> 8) & 0xFF));
  const int fraction = single_ascii_hex_to_int(static_cast<char>(type & 0xFF));
  const int total = is_signed_point(type) ? 15 : 16;
  assertion(integer + fraction == total, "integer + fraction == total", "src/SMC");
  return integer;
}
