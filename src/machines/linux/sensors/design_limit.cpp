#include "machines/linux/sensors/design_limit.h"

#include <array>
#include <charconv>
#include <optional>

// Source: the greatest operating temperature in the makers' tables. Processors hold it by
// themselves, and desktop ones of families 19h and 1Ah go there under any full load.

namespace linux_machine {
namespace {

constexpr double kUsualC = 95;

struct Row {
  unsigned family;
  unsigned first_model;
  unsigned last_model;
  double celsius;
};

constexpr unsigned kAmd = 2;
constexpr std::array<Row, 6> kAmdLimits = {{
    {0x17, 0x08, 0x08, 85},   // Zen+, desktop
    {0x19, 0x20, 0x2F, 90},   // Zen 3, desktop
    {0x19, 0x50, 0x5F, 105},  // Zen 3, laptop
    {0x19, 0x70, 0x7F, 100},  // Zen 4, laptop
    {0x1A, 0x20, 0x2F, 100},  // Zen 5, laptop
    {0x1A, 0x70, 0x7F, 100},
}};

/// The hexadecimal number that follows `name` in the text.
std::optional<unsigned> number_after(std::string_view text, std::string_view name) {
  const std::size_t at = text.find(name);
  if (at == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view digits = text.substr(at + name.size(), 4);
  unsigned number = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
  return read.ec == std::errc() ? std::optional<unsigned>(number) : std::nullopt;
}

}  // namespace

double design_limit_c(std::string_view modalias) {
  const auto vendor = number_after(modalias, ",ven");
  const auto family = number_after(modalias, "fam");
  const auto model = number_after(modalias, "mod");
  if (vendor == kAmd && family && model) {
    for (const Row& row : kAmdLimits) {
      if (row.family == *family && row.first_model <= *model && *model <= row.last_model) {
        return row.celsius;
      }
    }
  }
  return kUsualC;
}

}  // namespace linux_machine
