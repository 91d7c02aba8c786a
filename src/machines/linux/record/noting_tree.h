#pragma once

#include <mutex>
#include <set>
#include <string>

#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// Notes what is looked at in the tree below it. Writes nothing: every attempt is refused.
/// Thread: any.
class NotingTree : public sysfs::Tree {
 public:
  explicit NotingTree(sysfs::Tree& below) : below_(below) {}

  /// Every path that was opened to be read, or asked for where it is.
  std::set<std::string> noted() const;

  int open(const char* path, sysfs::Mode mode) override;
  ssize_t read(int handle, std::span<char> text) override { return below_.read(handle, text); }
  ssize_t write(int handle, std::string_view text) override;
  void close(int handle) override { below_.close(handle); }
  int list(const char* folder, std::vector<std::string>& names) override {
    return below_.list(folder, names);
  }
  sysfs::Patience* patience() override { return below_.patience(); }
  std::string real_path(const char* path) override;
  int permissions(const char* path) override { return below_.permissions(path); }

 private:
  void note(const char* path);

  sysfs::Tree& below_;
  mutable std::mutex mutex_;
  std::set<std::string> noted_;
};

}  // namespace linux_machine
