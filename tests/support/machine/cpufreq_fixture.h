#pragma once

#include <map>
#include <string>

#include "machines/linux/cpufreq/pinning.h"
#include "support/machine/faulty_tree.h"
#include "support/machine/late_cpufreq.h"
#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"

/// For the tests of this folder: policies as text, and a machine whose kernel takes its time.
namespace linux_machine {

inline const std::string kCpufreq = "devices/system/cpu/cpufreq/";

struct PolicyText {
  int number = 0;
  std::string driver = "intel_pstate";
  std::string governor = "powersave";
  std::string governors = "performance powersave";
  long long lowest = 400000;
  long long highest = 4700000;
  long long min = 400000;
  long long max = 4700000;

  std::string folder() const { return kCpufreq + "policy" + std::to_string(number) + "/"; }
  std::string text() const {
    const std::string read_only = "0444 " + folder();
    const std::string writable = "0644 " + folder();
    return read_only + "affected_cpus = " + std::to_string(number) + "\n" +      //
           read_only + "scaling_driver = " + driver + "\n" +                     //
           writable + "scaling_governor = " + governor + "\n" +                  //
           read_only + "scaling_available_governors = " + governors + "\n" +     //
           read_only + "cpuinfo_min_freq = " + std::to_string(lowest) + "\n" +   //
           read_only + "cpuinfo_max_freq = " + std::to_string(highest) + "\n" +  //
           writable + "scaling_min_freq = " + std::to_string(min) + "\n" +       //
           writable + "scaling_max_freq = " + std::to_string(max) + "\n";
  }
};

/// A laptop whose turbo ends at 2 GHz: two policies with 44 P-states from 4.7 GHz.
inline std::string turbo_machine() {
  std::string text = "0644 devices/system/cpu/intel_pstate/no_turbo = 0\n";
  for (const int number : {0, 1}) {
    const PolicyText policy{.number = number};
    text += policy.text() + "0444 " + policy.folder() + "base_frequency = 2000000\n";
  }
  return text;
}

/// amd-pstate-epp under the governor that gets in the way.
inline std::string performance_machine() {
  const PolicyText policy{.driver = "amd-pstate-epp", .governor = "performance"};
  return policy.text() + "0644 " + policy.folder() +
         "energy_performance_preference = balance_power\n";
}

/// A machine in memory, the kernel before it, and a control of its P-states.
struct CpufreqMachine {
  static constexpr std::int64_t kDelayNs = 50 * kNsPerMs;

  explicit CpufreqMachine(const std::string& text,
                          LateCpufreq::Kernel kernel_age = LateCpufreq::Kernel::queues,
                          std::int64_t delay_ns = kDelayNs)
      : tree(LateCpufreq::with_moving(text)),
        kernel(
            tree, [this] { return test.now_ns.load(); }, delay_ns, kernel_age) {}

  std::string read(const std::string& path) { return kernel.snapshot().at(path); }
  std::string limits(int policy) {
    const std::string folder = kCpufreq + "policy" + std::to_string(policy);
    return read(folder + "/scaling_min_freq") + " " + read(folder + "/scaling_max_freq");
  }

  MemoryTree tree;
  LateCpufreq kernel;
  FaultyTree faulty{kernel};
  TestSurroundings test{faulty};
  Ledger ledger{test.surroundings, "pstates"};
  PStatePinning control{test.surroundings, ledger};
};

}  // namespace linux_machine
