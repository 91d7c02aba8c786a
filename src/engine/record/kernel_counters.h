#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The clock of the processors that share one.
struct ProcessorClock {
  int processor = 0;  ///< the first of them
  std::int64_t khz = 0;
};

/// How often a processor was slowed down for its heat. What the kernel does not count is absent.
struct Throttles {
  int processor = 0;
  std::optional<std::int64_t> core;
  std::optional<std::int64_t> package;  ///< the same for all processors of a package

  bool operator==(const Throttles&) const = default;
};

/// The clocks and throttle counts of the machine, as far as the kernel shows them. What it does not
/// show is left out, and never a zero. Thread: one at a time.
class KernelCounters {
 public:
  /// Looks which processors there are. `sys` is where the kernel shows its devices: "/sys".
  explicit KernelCounters(const std::string& sys);

  // How it is at this moment, by processor.

  std::vector<ProcessorClock> clocks() const;
  std::vector<Throttles> throttles() const;

 private:
  struct Folder {
    int processor;
    std::string path;
  };
  static std::vector<Folder> folders(const std::string& in, std::string_view prefix);

  std::vector<Folder> policies_;  ///< of the clock: those that processors share
  std::vector<Folder> processors_;
};
