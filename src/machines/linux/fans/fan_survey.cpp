#include "machines/linux/fans/fan_survey.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <optional>
#include <tuple>
#include <utility>

#include "machines/linux/hwmon/devices.h"
#include "machines/linux/sysfs/attribute.h"

namespace linux_machine {
namespace {

/// "devices/platform/nct6775.656" of "devices/platform/nct6775.656/hwmon/hwmon3".
std::string without_number(const std::string& folder) {
  std::filesystem::path path(folder);
  if (path.filename().string().starts_with("hwmon")) {
    path = path.parent_path();
  }
  return path.filename() == "hwmon" ? path.parent_path() : path;
}

/// Whether one switch that cannot be read serves all fans of its chip. Since 6.18 the driver of
/// such a chip has a mode for each fan.
bool shares_switch(sysfs::Tree& tree, const FanChannel& fan) {
  return fan.kind().one_switch && !sysfs::read_integer(tree, fan.pwm() + "_enable");
}

std::string why_not(sysfs::Tree& tree, const FanChannel& fan) {
  const Chip& kind = fan.kind();
  if (!kind.refusal.empty()) {
    return fan.input() + ": " + std::string(kind.refusal) + " (" + fan.chip + ")";
  }
  if (!sysfs::exists(tree, fan.pwm())) {
    return fan.input() + ": there is no " + fan.pwm() + " to set its speed with";
  }
  if (!sysfs::exists(tree, fan.enable())) {
    return fan.input() + ": there is no " + fan.enable() + " to give it back with";
  }
  if (fan.shares_switch || kind.takes_firmware_mode) {
    return {};
  }
  const sysfs::Result<long long> mode = sysfs::read_integer(tree, fan.enable());
  return mode && *mode == kFirmwareMode ? fan.enable() + ": the firmware keeps it to itself"
                                        : std::string();
}

struct Found {
  FanChannel fan;
  bool turns_or_measured = false;
};

/// None for one that cannot be read, or is none of ours.
std::optional<Found> look_at(sysfs::Tree& tree, FanChannel fan, const KnownOfFans& known) {
  const sysfs::Result<long long> value = sysfs::read_integer(tree, fan.input());
  if (!value || fan.is_of_others()) {
    return std::nullopt;
  }
  fan.is_assigned =
      std::any_of(known.assigned.begin(), known.assigned.end(), [&](const Assignment& one) {
        return one.device == fan.device && one.channel == fan.channel;
      });
  fan.shares_switch = shares_switch(tree, fan);
  fan.refusal = why_not(tree, fan);
  fan.measurable = fan.refusal.empty();
  const sysfs::Result<double> rpm = speed_said(fan.input(), *value);
  const bool turns = rpm && *rpm > 0;
  const Measured measured = turns ? Measured::turns : known.measured(fan);
  if (rpm && measured == Measured::stands) {
    fan.connection = FanChannel::Connection::none;
  } else if (rpm && measured == Measured::not_yet && !fan.kind().built_in && !fan.is_assigned) {
    fan.connection = FanChannel::Connection::doubtful;
  }
  if (fan.measurable && fan.connection == FanChannel::Connection::none) {
    fan.refusal =
        fan.input() +
        ": it did not turn when it was measured: nothing is connected there; -a names the fans "
        "that turn";
  } else if (fan.measurable && fan.connection == FanChannel::Connection::doubtful) {
    fan.refusal = fan.input() +
                  ": it stands still and was never measured: perhaps nothing is connected there; "
                  "-a names the fans that turn, and vorn-keys --calibrate finds out";
  }
  return Found{.fan = std::move(fan), .turns_or_measured = measured == Measured::turns};
}

std::vector<Found> find_all(sysfs::Tree& tree, const KnownOfFans& known) {
  std::vector<Found> all;
  for (const HwmonDevice& device : find_hwmon(tree)) {
    if (chip_named(device.name).fans == Chip::Fans::of_another_device) {
      continue;
    }
    for (HwmonInput& input : find_inputs(tree, device, "fan")) {
      FanChannel fan;
      fan.folder = device.folder;
      fan.device = without_number(device.folder);
      fan.chip = device.name;
      fan.channel = input.channel;
      fan.label = std::move(input.label);
      if (std::optional<Found> found = look_at(tree, std::move(fan), known)) {
        all.push_back(*std::move(found));
      }
    }
  }
  return all;
}

/// A laptop's firmware may be asked by several drivers; the one that can force its fans counts.
void leave_out_second_views(std::vector<Found>& all) {
  int best = std::numeric_limits<int>::max();
  for (const Found& one : all) {
    best = one.fan.kind().built_in ? std::min(best, one.fan.kind().view) : best;
  }
  std::erase_if(all, [&](const Found& one) { return one.fan.kind().view > best; });
}

bool comes_before(const Found& a, const Found& b) {
  const auto rank = [](const Found& one) {
    const FanChannel& fan = one.fan;
    const bool unconnected = fan.connection != FanChannel::Connection::certain;
    const int group = fan.controllable() ? 0 : (unconnected ? 2 : 1);
    const bool on_usb = fan.device.find("/usb") != std::string::npos;
    const int place = fan.is_of_processor_or_chassis() ? 0 : (on_usb ? 2 : 1);
    return std::make_tuple(group, place, !one.turns_or_measured, std::cref(fan.device),
                           std::cref(fan.chip), fan.channel);
  };
  return rank(a) < rank(b);
}

/// The fans in their order, but each assigned one in its place.
std::vector<FanChannel> numbered(std::vector<Found> ordered,
                                 const std::vector<Assignment>& assigned) {
  std::vector<std::optional<FanChannel>> places(ordered.size());
  for (const Assignment& one : assigned) {
    const auto is_meant = [&](const Found& found) {
      return found.fan.device == one.device && found.fan.channel == one.channel;
    };
    const auto at = std::find_if(ordered.begin(), ordered.end(), is_meant);
    if (at != ordered.end() && one.number < places.size() && !places[one.number]) {
      places[one.number] = std::move(at->fan);
      ordered.erase(at);
    }
  }
  std::vector<FanChannel> fans;
  fans.reserve(places.size());
  auto next = ordered.begin();
  for (std::optional<FanChannel>& place : places) {
    fans.push_back(place ? *std::move(place) : std::move((next++)->fan));
  }
  return fans;
}

}  // namespace

std::vector<FanChannel> find_fans(sysfs::Tree& tree, const KnownOfFans& known) {
  std::vector<Found> all = find_all(tree, known);
  leave_out_second_views(all);
  std::sort(all.begin(), all.end(), comes_before);
  std::vector<FanChannel> fans = numbered(std::move(all), known.assigned);
  fans.resize(std::min(fans.size(), kMostFans));
  for (std::size_t number = kMostForcedFans; number < fans.size(); ++number) {
    if (fans[number].controllable()) {
      fans[number].refusal =
          fans[number].input() +
          ": the first three fans can be forced; vorn-keys --assign chooses them";
    }
  }
  return fans;
}

}  // namespace linux_machine
