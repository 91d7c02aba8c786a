#pragma once

#include <atomic>
#include <ostream>

#include "machines/linux/sysfs/tree.h"

/// Fails the n-th access to the tree below it with an error, once or from then on. Opening,
/// reading, writing and listing count; closing never fails.
class FaultyTree : public sysfs::Tree {
 public:
  enum class For { once, ever };
  friend std::ostream& operator<<(std::ostream& out, For how_long) {
    return out << (how_long == For::once ? "once" : "ever");
  }

  explicit FaultyTree(sysfs::Tree& below) : below_(below) {}

  /// The first access from now on is number 1; 0 fails none.
  void fail(int access, int error, For how_long) {
    accesses_ = 0;
    failing_ = access;
    error_ = error;
    how_long_ = how_long;
  }
  void heal() { failing_ = 0; }

  int accesses() const { return accesses_; }

  int open(const char* path, sysfs::Mode mode) override {
    return fails() ? -error_ : below_.open(path, mode);
  }
  ssize_t read(int handle, std::span<char> text) override {
    return fails() ? -error_ : below_.read(handle, text);
  }
  ssize_t write(int handle, std::string_view text) override {
    return fails() ? -error_ : below_.write(handle, text);
  }
  void close(int handle) override { below_.close(handle); }
  int list(const char* folder, std::vector<std::string>& names) override {
    names.clear();
    return fails() ? -error_ : below_.list(folder, names);
  }
  std::string real_path(const char* path) override { return below_.real_path(path); }
  int permissions(const char* path) override { return below_.permissions(path); }

 private:
  bool fails() {
    const int access = ++accesses_;
    return failing_ != 0 && (how_long_ == For::once ? access == failing_ : access >= failing_);
  }

  sysfs::Tree& below_;
  std::atomic<int> accesses_{0};
  std::atomic<int> failing_{0};
  int error_ = 0;
  For how_long_ = For::once;
};
