#pragma once

#include <cerrno>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "machines/linux/fans/curve_file.h"
#include "machines/linux/fans/fan_control.h"
#include "support/machine/faulty_tree.h"
#include "support/machine/memory_tree.h"
#include "support/machine/moving_fans.h"
#include "support/machine/test_surroundings.h"

namespace linux_machine {

/// Lets nobody open for writing while there is no privilege; who has opened goes on.
class PrivilegedTree : public FaultyTree {
 public:
  using FaultyTree::FaultyTree;
  int open(const char* path, sysfs::Mode mode) override {
    return mode == sysfs::Mode::write && !privileged ? -EACCES : FaultyTree::open(path, mode);
  }
  bool privileged = true;
};

/// A board with two fans that move and a processor's temperature, and the clock to move them by.
/// Faults are injected above all of it, as a driver sees them.
class FanFixture {
 public:
  explicit FanFixture(const std::string& chip = "nct6779", const std::string& mode = "5",
                      std::vector<MovingFan> fans = two_fans())
      : moving_fans_(std::move(fans)), memory(machine(chip, mode, moving_fans_)) {}

  static constexpr const char* kFolder = "devices/platform/board/hwmon/hwmon2";
  static constexpr const char* kTemperature = "devices/cpu/temp1_input";

  static std::vector<MovingFan> two_fans() {
    MovingFan one;
    one.folder = kFolder;
    MovingFan two = one;
    two.channel = 2;
    two.most_rpm = 1500;
    return {one, two};
  }

  /// A new run of a program on this machine: nothing but the machine and its files stays.
  void new_run() {
    control.reset();
    ledger = std::make_unique<Ledger>(surroundings.surroundings, "fans");
    control = std::make_unique<FanControl>(surroundings.surroundings, *ledger,
                                           std::vector<WatchedTemperature>{{kTemperature, 100}},
                                           FanControl::Watching::by_caller);
  }

  /// Lets time pass, watched as by the thread.
  void pass(double seconds) {
    const std::int64_t end = surroundings.now_ns + static_cast<std::int64_t>(seconds * 1e9);
    while (surroundings.now_ns < end) {
      surroundings.now_ns += FanControl::kWatchPeriodNs;
      control->watch();
    }
  }

  double speed(int channel) {
    return static_cast<double>(
        *sysfs::read_integer(moving, attribute("fan" + std::to_string(channel) + "_input")));
  }
  long long shown(const std::string& name) { return *sysfs::read_integer(moving, attribute(name)); }
  static std::string attribute(const std::string& name) {
    return std::string(kFolder) + "/" + name;
  }

  /// Everything that a run may change, as the chip shows it.
  std::map<std::string, std::string> state() {
    std::map<std::string, std::string> all;
    for (const MovingFan& fan : moving_fans_) {
      for (const char* end : {"", "_enable"}) {
        const std::string path = attribute("pwm" + std::to_string(fan.channel) + end);
        const auto text = sysfs::read_text(moving, path);
        all[path] = text ? *text : memory.text(path);
      }
    }
    return all;
  }

  /// A curve as calibration would find it.
  void save_true_curve(std::size_t fan, Curve::Stop stop) {
    std::vector<CurvePoint> points;
    for (const int pwm : {255, 192, 128, 96, 64, 48, 40, 32}) {
      points.push_back({pwm, moving_fans_[fan].steady_rpm(pwm)});
    }
    FanChannel channel;
    channel.folder = kFolder;
    channel.device = "devices/platform/board";
    channel.chip = memory.text(attribute("name"));
    channel.channel = moving_fans_[fan].channel;
    save_curve(surroundings.surroundings.curves_folder, channel,
               curve_text(channel, *Curve::make(points, stop, 70)));
  }

 private:
  static std::string machine(const std::string& chip, const std::string& mode,
                             const std::vector<MovingFan>& fans) {
    const std::string at = std::string(kFolder) + "/";
    std::string text = "0444 " + at + "name = " + chip + "\n0444 " + kTemperature +
                       " = 50000\nlink class/hwmon/hwmon2 -> ../../" + kFolder + "\n" +
                       MovingFans::state_files(fans);
    for (const MovingFan& fan : fans) {
      const std::string n = std::to_string(fan.channel);
      text += "0444 " + at + "fan" + n + "_input = 0\n";
      text += "0644 " + at + "pwm" + n + " = " + (mode == "0" ? "255" : "100") + "\n";
      text += (mode == "?" ? "0200 " : "0644 ") + at + "pwm" + n +
              "_enable = " + (mode == "?" ? "2" : mode) + "\n";
      if (fan.target_mode >= 0) {
        text += "0644 " + at + "fan" + n + "_target = 1234\n";
      }
    }
    return text;
  }

  std::vector<MovingFan> moving_fans_;

 public:
  MemoryTree memory;
  MovingFans moving{memory, moving_fans_, [this] { return surroundings.now_ns.load(); }};
  PrivilegedTree faulty{moving};
  TestSurroundings surroundings{faulty};
  std::unique_ptr<Ledger> ledger;
  std::unique_ptr<FanControl> control;
};

}  // namespace linux_machine
