#pragma once

#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "machines/linux/surroundings/surroundings.h"
#include "support/machine/memory_tree.h"

/// The surroundings of a driver under test: trees of the test's choice, folders of its own, a
/// clock that moves only when it is slept on or told to, and reports that are kept.
class TestSurroundings {
  std::mutex mutex_;
  std::vector<std::string> reports_;
  std::string folder_;  // made while `surroundings` is

 public:
  explicit TestSurroundings(sysfs::Tree& sys) : surroundings{make(sys)} {}
  ~TestSurroundings() { std::filesystem::remove_all(folder_); }
  TestSurroundings(const TestSurroundings&) = delete;
  TestSurroundings& operator=(const TestSurroundings&) = delete;

  std::vector<std::string> reports() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return reports_;
  }
  /// Whether some report holds `text`.
  bool reported(const std::string& text) {
    const std::vector<std::string> all = reports();
    return std::any_of(all.begin(), all.end(),
                       [&](const auto& one) { return one.find(text) != std::string::npos; });
  }
  const std::string& folder() const { return folder_; }

  MemoryTree proc;
  std::atomic<std::int64_t> now_ns{1'000'000'000'000};
  std::atomic<uid_t> user{0};
  linux_machine::Surroundings surroundings;

 private:
  static std::string make_folder() {
    std::string name = std::filesystem::temp_directory_path() / "vorn-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("no folder for the test");
    }
    return name;
  }
  linux_machine::Surroundings make(sysfs::Tree& sys) {
    folder_ = make_folder();
    return {.sys = sys,
            .proc = proc,
            .curves_folder = folder_ + "/curves",
            .state_folder = folder_ + "/state",
            .guarded = false,
            .now_ns = [this] { return now_ns.load(); },
            .sleep_for = [this](std::int64_t ns) { now_ns += ns; },
            .effective_user = [this] { return user.load(); },
            .report =
                [this](const std::string& line) {
                  const std::lock_guard<std::mutex> lock(mutex_);
                  reports_.push_back(line);
                }};
  }
};
