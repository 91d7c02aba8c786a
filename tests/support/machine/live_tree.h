#pragma once

#include <map>
#include <string>
#include <vector>

#include "machines/linux/sysfs/tree.h"
#include "support/machine/late_cpufreq.h"
#include "support/machine/moving_energy.h"
#include "support/machine/moving_fans.h"

/// A machine of tests/machines as files in a folder, whose fans, clocks and energy meters move: the
/// programs under test and the test itself each look at it through an object of this class.
///
///   <folder>/sys    what the kernel shows       <folder>/curves  measured curves
///   <folder>/proc   other processes             <folder>/state   what is to be given back
class LiveTree {
 public:
  /// Makes the files. `folder` must exist and be empty.
  static void build(const std::string& machine, const std::string& folder);

  /// Measured curves for all fans, as calibration would have found them.
  void keep_curves();

  /// Time passes `pace` times as fast as on the wall.
  explicit LiveTree(std::string folder, int pace = 1);

  /// What each package's meter counts, W.
  static constexpr double kPowerW = 60;

  /// Lets this process fork while other threads use the tree: for the one tree of a program, which
  /// must live as long as it.
  void be_ready_for_forks();

  sysfs::Tree& sys() { return energy_; }
  sysfs::Tree& proc() { return proc_; }
  std::string curves() const { return folder_ + "/curves"; }
  std::string state() const { return folder_ + "/state"; }

  /// What can be changed and must be given back, as it reads now: modes, pwm values and limits.
  std::map<std::string, std::string> snapshot();

  /// What the state files hold.
  std::string left_to_give_back() const;

 private:
  const std::string folder_;
  sysfs::Folder files_;
  sysfs::Folder proc_;
  std::vector<MovingFan> fans_;
  MovingFans moving_;
  LateCpufreq cpufreq_;
  MovingEnergy energy_;
};
