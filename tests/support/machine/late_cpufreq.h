#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "machines/linux/sysfs/tree.h"

/// The kernel's cpufreq before a machine's tree (in memory or files): limits that are accepted at
/// once, clamped and applied later; governors and preferences that are refused where the kernel
/// refuses them; no_turbo that moves the fastest frequency of intel_pstate.
///
/// What has been asked for is kept in the tree below, under "moving/", so that several processes
/// before one folder see one machine; see with_moving(). scaling_{min,max}_freq,
/// cpuinfo_max_freq and energy_performance_preference must be read through this, since they are
/// worked out when they are read. A moving/<policy>/thermal_limit above 0 (kHz) holds the policy
/// below it, whatever is asked for.
///
/// Takes no lock, so that a process may be forked from one that is in it. Thread: any, but one at
/// a time for one attribute.
class LateCpufreq : public sysfs::Tree {
 public:
  enum class Kernel {
    queues,   ///< since 5.3: any limit is accepted, and applied after the delay
    applies,  ///< before: at once, and a minimum above the maximum is refused
  };
  using Clock = std::function<std::int64_t()>;

  /// `now_ns` must be the same clock in all processes: CLOCK_MONOTONIC.
  LateCpufreq(sysfs::Tree& below, Clock now_ns, std::int64_t delay_ns,
              Kernel kernel = Kernel::queues)
      : below_(below), now_ns_(std::move(now_ns)), delay_ns_(delay_ns), kernel_(kernel) {}

  /// The text of a machine with the attributes added that this keeps its state in.
  static std::string with_moving(const std::string& machine);

  /// What can be read of devices/system/cpu, by path: "!<errno>" for what cannot.
  std::map<std::string, std::string> snapshot();

  int open(const char* path, sysfs::Mode mode) override;
  ssize_t read(int handle, std::span<char> text) override;
  ssize_t write(int handle, std::string_view text) override;
  void close(int handle) override;
  int list(const char* folder, std::vector<std::string>& names) override;
  std::string real_path(const char* path) override { return below_.real_path(path); }
  sysfs::Patience* patience() override { return below_.patience(); }
  int permissions(const char* path) override { return below_.permissions(path); }

 private:
  struct Opened {
    std::atomic<bool> used{false};
    int below = -1;
    std::string path;
  };
  struct Limits {
    long long min = 0;
    long long max = 0;
  };

  std::optional<std::string> worked_out(const std::string& path);
  int take(const std::string& path, std::string_view text);
  int take_limit(const std::string& path, std::string_view text);
  bool has_governor(const std::string& folder, std::string_view governor);

  long long number(const std::string& path, long long otherwise);
  std::string text(const std::string& path);
  long long hardware_max(const std::string& folder);
  Limits effective(const std::string& folder);
  long long request(const std::string& limit);
  int put_request(const std::string& limit, long long khz);
  void collect(const std::string& folder, std::map<std::string, std::string>& all);

  sysfs::Tree& below_;
  const Clock now_ns_;
  const std::int64_t delay_ns_;
  const Kernel kernel_;
  std::array<Opened, 256> opened_;
};
