#include "support/machine/live_tree.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "machines/linux/fans/curve_file.h"
#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/sysfs/parse.h"
#include "support/machine/machine_file.h"

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t kAppliedAfterNs = 20'000'000;

std::int64_t now_ns() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

/// Every channel that has a pwm with a mode.
std::vector<MovingFan> moving_fans_of(sysfs::Tree& tree) {
  std::vector<MovingFan> fans;
  for (const std::string& device : sysfs::list(tree, "class/hwmon")) {
    const std::string folder = tree.real_path(("class/hwmon/" + device).c_str());
    for (const std::string& name : sysfs::list(tree, folder)) {
      if (const auto channel = sysfs::channel_of(name, "pwm", "_enable")) {
        MovingFan fan;
        fan.folder = folder;
        fan.channel = *channel;
        fans.push_back(fan);
      }
    }
  }
  return fans;
}

void write_file(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

std::function<void()> hold_for_fork;
std::function<void()> let_go_after_fork;

}  // namespace

void LiveTree::be_ready_for_forks() {
  hold_for_fork = [this] {
    energy_.lock();
    moving_.lock();
  };
  let_go_after_fork = [this] {
    moving_.unlock();
    energy_.unlock();
  };
  const auto let_go = [] { let_go_after_fork(); };
  pthread_atfork([] { hold_for_fork(); }, let_go, let_go);
}

void LiveTree::build(const std::string& machine, const std::string& folder) {
  fs::create_directories(folder + "/proc");
  const std::string text = LateCpufreq::with_moving(read_machine(machine));
  build_machine(text, folder + "/sys");
  sysfs::Folder files(folder + "/sys");
  build_machine(MovingFans::state_files(moving_fans_of(files)), folder + "/sys");
}

LiveTree::LiveTree(std::string folder, int pace)
    : folder_(std::move(folder)),
      files_(folder_ + "/sys"),
      proc_(folder_ + "/proc"),
      fans_(moving_fans_of(files_)),
      moving_(files_, fans_, [pace] { return pace * now_ns(); }),
      cpufreq_(moving_, now_ns, kAppliedAfterNs),
      energy_(cpufreq_, kPowerW, [pace] { return pace * now_ns(); }) {}

void LiveTree::keep_curves() {
  for (const linux_machine::FanChannel& channel :
       linux_machine::find_fans(sys(), linux_machine::known_of_fans(curves()))) {
    const auto fan = std::find_if(fans_.begin(), fans_.end(), [&](const MovingFan& one) {
      return one.folder == channel.folder && one.channel == channel.channel;
    });
    if (fan == fans_.end()) {
      continue;
    }
    std::ostringstream text;
    text << "vorn fan curve 1\ndevice " << channel.device << "\nchip " << channel.chip << "\nfan "
         << channel.channel << "\nstops-and-starts yes\nstart-pwm 60\n";
    for (const int pwm : {48, 64, 96, 128, 192, 255}) {
      text << pwm << ' ' << static_cast<int>(fan->steady_rpm(pwm)) << '\n';
    }
    write_file(linux_machine::curve_path(curves(), channel), text.str());
  }
}

std::map<std::string, std::string> LiveTree::snapshot() {
  std::map<std::string, std::string> all = cpufreq_.snapshot();
  for (const MovingFan& fan : fans_) {
    const std::string pwm = fan.folder + "/pwm" + std::to_string(fan.channel);
    for (const std::string& path : {pwm, pwm + "_enable"}) {
      const auto text = sysfs::read_text(sys(), path);
      all[path] = text ? *text : text.failure().message;
    }
  }
  return all;
}

std::string LiveTree::left_to_give_back() const {
  std::string all;
  std::error_code error;
  for (const auto& file : fs::directory_iterator(state(), error)) {
    std::ifstream in(file.path());
    std::ostringstream text;
    text << in.rdbuf();
    all += text.str();
  }
  return all;
}
