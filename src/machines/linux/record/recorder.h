#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "machines/linux/record/machine_text.h"
#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// Makes a record of what a machine's tree says of monitors, thermal zones, energy counters and
/// clocks, and of what it is told beside: names, labels, values, permissions, errors. Of serial
/// numbers there is none: attributes called so are left out, and an address of a device of six
/// bytes in a path or a text stands as a number. Thread: one at a time.
class Recorder {
 public:
  /// `now_ns` is the time of the answers.
  Recorder(sysfs::Tree& tree, std::function<std::int64_t()> now_ns)
      : tree_(tree), now_ns_(std::move(now_ns)) {}

  /// Finds the attributes, and those of `also`: paths that may lead through links.
  void find(const std::set<std::string>& also);

  /// Reads every attribute once more. The first time says what is recorded of those that cannot be
  /// read.
  void read();

  /// The entries so far, attributes sorted by their paths, and then the links.
  std::vector<MachineEntry> entries() const;

 private:
  struct Found {
    MachineEntry entry;
    std::int64_t first_ns = 0;
    bool read = false;  ///< at least once
    bool there = true;  ///< not a folder, and not gone
  };

  std::string follow(const std::string& path);
  void add(const std::string& path);
  template <class Wanted>
  void add_all(const std::string& folder, Wanted wanted);
  void find_monitors();
  void find_zones(const std::string& folder, bool (*wanted)(const std::string& name));
  void find_clocks();
  void take(Found& found, const std::string& path);

  sysfs::Tree& tree_;
  std::function<std::int64_t()> now_ns_;
  std::map<std::string, std::string> real_;  ///< of each path that was followed
  std::map<std::string, std::string> links_;
  std::map<std::string, Found> found_;
};

}  // namespace linux_machine
