#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "machines/linux/sysfs/tree.h"

/// Makes every energy_uj of the tree below it count at a steady power, and wrap round at its
/// max_energy_range_uj. Thread: any.
class MovingEnergy : public sysfs::Tree {
 public:
  using Clock = std::function<std::int64_t()>;  ///< ns

  MovingEnergy(sysfs::Tree& below, double power_w, Clock now_ns)
      : below_(below), power_w_(power_w), now_ns_(std::move(now_ns)), began_ns_(now_ns_()) {}

  int open(const char* path, sysfs::Mode mode) override;
  ssize_t read(int handle, std::span<char> text) override;
  ssize_t write(int handle, std::string_view text) override { return below_.write(handle, text); }
  void close(int handle) override;
  int list(const char* folder, std::vector<std::string>& names) override {
    return below_.list(folder, names);
  }
  std::string real_path(const char* path) override { return below_.real_path(path); }
  sysfs::Patience* patience() override { return below_.patience(); }
  int permissions(const char* path) override { return below_.permissions(path); }

  // For a fork: who holds it then cannot let go of it in the child.
  void lock() { mutex_.lock(); }
  void unlock() { mutex_.unlock(); }

 private:
  sysfs::Tree& below_;
  const double power_w_;
  const Clock now_ns_;
  const std::int64_t began_ns_;
  std::mutex mutex_;                   ///< guards all below
  std::map<int, long long> range_uj_;  ///< of the counters that are open
};
