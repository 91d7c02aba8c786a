#include "machines/linux/drivers/keys.h"

#include <algorithm>
#include <cmath>

#include "machines/linux/sysfs/printable.h"

namespace linux_machine {
namespace {

using controller::four_characters;
using sysfs::Attribute;
using sysfs::Result;

/// "F0Tg" of fan 0 and 'T', 'g'.
std::uint32_t fan_code(std::size_t fan, char first, char second) {
  const char name[5] = {'F', static_cast<char>('0' + fan), first, second, '\0'};
  return four_characters(name);
}

// A client can write a target up to here (the type could hold twice as much), so nothing higher is
// shown as what a fan can be told; and it means all that the fan can do, on one that can do more.
constexpr double kMostTargetRpm = 8191;

Result<double> at_most_a_target(Result<double> rpm) {
  return rpm ? Result<double>(std::min(*rpm, kMostTargetRpm)) : rpm;
}

double meant_by(double target_rpm) {
  return target_rpm >= kMostTargetRpm ? double{kMostRpm} : target_rpm;
}

/// A fan's speed, one read a value.
class Speed final : public Sensor {
 public:
  Speed(sysfs::Tree& tree, const std::string& path)
      : input_(Attribute::open(tree, path, sysfs::Mode::read)) {}

  Result<double> read() override {
    if (!input_) {
      return input_.failure();
    }
    const Result<long long> value = input_->read_integer();
    return value ? speed_said(input_->path(), *value) : value.failure();
  }

 private:
  Result<Attribute> input_;
};

const char* doubt_about(const FanChannel& fan) {
  switch (fan.connection) {
    case FanChannel::Connection::doubtful:
      return ", perhaps unconnected";
    case FanChannel::Connection::none:
      return ", unconnected";
    case FanChannel::Connection::certain:
      break;
  }
  return "";
}

std::string described(const FanChannel& fan) {
  return fan.chip + " fan" + std::to_string(fan.channel) +
         (fan.label.empty() ? "" : ", label \"" + fan.label + "\"") +
         (fan.is_assigned ? ", assigned" : "") + doubt_about(fan);
}

std::string maximum_source(const FanControl& fans, std::size_t fan, const FanChannel& channel) {
  if (fans.maximum_is_measured_on_demand(fan)) {
    return "not measured yet: run vorn-keys --calibrate";
  }
  return channel.kind().real_range ? channel.greatest() : "measured curve";
}

Key make_key(std::uint32_t code, std::string source, std::function<Result<double>()> read) {
  return {.code = code,
          .type = controller::kFpe2,
          .source = std::move(source),
          .read = std::move(read)};
}

void add_fan(std::vector<Key>& keys, const Surroundings& surroundings, FanControl& fans,
             std::size_t n) {
  const FanChannel& fan = fans.channels()[n];
  const std::string what = described(fan);

  Key speed = make_key(fan_code(n, 'A', 'c'), what + ": " + fan.input(), nullptr);
  speed.connect = [&surroundings, path = fan.input()] {
    return std::make_unique<Speed>(surroundings.sys, path);
  };
  keys.push_back(std::move(speed));

  if (fan.controllable()) {
    Key target = make_key(fan_code(n, 'T', 'g'), what + ": " + fan.pwm(),
                          [&fans, n] { return at_most_a_target(fans.target_rpm(n)); });
    target.write = [&fans, n](double rpm) { return fans.set_target_rpm(n, meant_by(rpm)); };
    keys.push_back(std::move(target));
  }
  if (fans.has_maximum(n)) {
    Key most = make_key(fan_code(n, 'M', 'x'), what + ": " + maximum_source(fans, n, fan),
                        [&fans, n] { return at_most_a_target(fans.maximum_rpm(n)); });
    most.moves_fan_when_read = fans.maximum_is_measured_on_demand(n);
    keys.push_back(std::move(most));
  }
  if (const std::optional<double> least = fans.minimum_rpm(n)) {
    keys.push_back(make_key(fan_code(n, 'M', 'n'), what + ": lowest steady speed",
                            [least] { return Result<double>(*least); }));
  }
}

}  // namespace

std::vector<Key> make_keys(std::vector<SensorKey> sensors, const Surroundings& surroundings,
                           FanControl& fans) {
  std::vector<Key> keys;
  for (SensorKey& sensor : sensors) {
    const std::string& name = sensor.name;
    const char code[5] = {name[0], name[1], name[2], name[3], '\0'};
    keys.push_back({.code = four_characters(code),
                    .type = sensor.type,
                    .source = std::move(sensor.source),
                    .connect = std::move(sensor.connect)});
  }
  const std::span<const FanChannel> channels = fans.channels();
  if (std::any_of(channels.begin(), channels.end(),
                  [](const FanChannel& fan) { return fan.controllable(); })) {
    Key force{.code = four_characters("FS! "),
              .type = controller::kUi16,
              .source = "one bit for each fan that is forced"};
    force.read = [&fans] { return Result<double>(static_cast<double>(fans.force_bits())); };
    force.write = [&fans](double bits) {
      return fans.set_force_bits(static_cast<std::uint16_t>(bits));
    };
    keys.push_back(std::move(force));
  }
  for (std::size_t fan = 0; fan < channels.size(); ++fan) {
    add_fan(keys, surroundings, fans, fan);
  }
  for (Key& key : keys) {
    key.source = sysfs::printable(key.source);
  }
  return keys;
}

}  // namespace linux_machine
