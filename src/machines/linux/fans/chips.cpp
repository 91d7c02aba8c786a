#include "machines/linux/fans/chips.h"

#include <array>

// Source of all of it: the kernel's drivers (drivers/hwmon, drivers/platform/x86) and their
// documentation. fanN_target of the nct6775 family is not used: its driver calls it untested, and
// boards show values there that mean nothing.

namespace linux_machine {
namespace {

constexpr std::string_view kKernelControlled =
    "the kernel's own thermal control sets it and would take it back at once";
constexpr std::string_view kNoManualMode = "its driver offers no manual control";
constexpr std::string_view kNoWayBack = "it has no mode to give it back to";
constexpr std::string_view kCurveDevice =
    "it is a device for the firmware's own curves, not for a speed";

constexpr Chip another_device() {
  return {.fans = Chip::Fans::of_another_device, .refusal = "it belongs to another device"};
}

struct Row {
  std::string_view name;
  Chip chip;
};

constexpr auto kChips = std::to_array<Row>({
    {"amc6821", {.target_mode = 4, .zero_is_full_speed = false}},
    {"cros_ec", {.zero_is_full_speed = false, .built_in = true}},
    {"dell_smm",
     {.zero_is_full_speed = false,
      .real_range = true,
      .one_switch = true,
      .slow = true,
      .built_in = true}},
    {"emc2103", {.manual_mode = 0, .target_mode = 3, .zero_is_full_speed = false}},
    {"f71805f", {.target_mode = 3}},
    {"g762", {.target_mode = 2, .zero_is_full_speed = false}},
    {"g763", {.target_mode = 2, .zero_is_full_speed = false}},
    {"gpio_fan", {.target_mode = 1, .real_range = true, .built_in = true}},
    {"max31790", {.target_mode = 2, .zero_is_full_speed = false}},
    {"max6650", {.target_mode = 2}},
    {"nct6687", {.zero_is_full_speed = false, .takes_firmware_mode = true}},
    {"thinkpad", {.built_in = true}},

    {"acpi_fan", {.built_in = true, .view = 2}},
    {"applesmc", {.built_in = true}},
    {"aquacomputer", {.refusal = kNoWayBack}},
    {"asus", {.built_in = true, .refusal = kNoManualMode}},
    {"asus_custom_fan_curve", {.refusal = kCurveDevice}},
    {"corsaircpro", {.refusal = kNoWayBack}},
    {"dell_ddv", {.built_in = true, .view = 1}},
    {"hp", {.built_in = true, .refusal = kNoManualMode}},
    {"nct6683", {.refusal = kNoManualMode}},
    {"nct6686", {.refusal = kNoManualMode}},
    {"pwmfan", {.zero_is_full_speed = false, .built_in = true, .refusal = kKernelControlled}},

    {"amdgpu", another_device()},
    {"corsairpsu", another_device()},
    {"i915", another_device()},
    {"nouveau", another_device()},
    {"radeon", another_device()},
    {"xe", another_device()},
});

constexpr Chip kOrdinary;

}  // namespace

const Chip& chip_named(std::string_view name) {
  for (const Row& row : kChips) {
    if (row.name == name) {
      return row.chip;
    }
  }
  return kOrdinary;
}

bool is_mode(const Chip& chip, long long shown, int wanted) {
  return shown == wanted || (shown == 0 && wanted == chip.manual_mode && chip.zero_is_full_speed);
}

}  // namespace linux_machine
