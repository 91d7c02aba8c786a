#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "machines/linux/record/machine_text.h"
#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// A machine's tree as its record has it: read-only. Answers change with time as they did when it
/// was recorded, counters of energy evenly, and those go on as they did last. Thread: any.
class RecordedTree : public sysfs::Tree {
 public:
  /// `now_ns` counts from the beginning of the record.
  RecordedTree(std::vector<MachineEntry> entries, std::function<std::int64_t()> now_ns);

  int open(const char* path, sysfs::Mode mode) override;
  ssize_t read(int handle, std::span<char> text) override;
  ssize_t write(int handle, std::string_view text) override;
  void close(int /*handle*/) override {}
  int list(const char* folder, std::vector<std::string>& names) override;
  std::string real_path(const char* path) override;
  int permissions(const char* path) override;

 private:
  const MachineEntry* find(const char* path) const;
  std::string resolve(const std::string& path) const;
  void add_to_folders(const std::string& path);

  const std::vector<MachineEntry> entries_;
  const std::function<std::int64_t()> now_ns_;
  std::map<std::string, std::size_t> attributes_;  ///< by path
  std::map<std::string, std::string> links_;       ///< from a path to a path
  std::map<std::string, std::set<std::string>> folders_;
};

}  // namespace linux_machine
