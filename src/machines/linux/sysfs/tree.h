#pragma once

#include <sys/types.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "machines/linux/sysfs/patience.h"

namespace sysfs {

enum class Mode { read, write };

/// The tree of attribute files that the kernel shows, and the only way to it: the seam at which
/// tests put a machine of their own. Paths are relative to the root, without a slash in front.
/// Every operation returns a negative errno value when it fails.
///
/// Thread: any. The operations but list and real_path allocate nothing in a Folder, so that they
/// may be used between fork and exit of a process with threads.
class Tree {
 public:
  Tree() = default;
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;
  virtual ~Tree() = default;

  /// Returns a handle for read (Mode::read) or write (Mode::write), to be closed.
  virtual int open(const char* path, Mode mode) = 0;

  /// One read from the front of the attribute. Returns the number of bytes.
  virtual ssize_t read(int handle, std::span<char> text) = 0;

  /// One write of the whole value. Returns the number of bytes.
  virtual ssize_t write(int handle, std::string_view text) = 0;

  virtual void close(int handle) = 0;

  /// Sets `names` to the entries of a folder, sorted. Returns 0.
  virtual int list(const char* folder, std::vector<std::string>& names) = 0;

  /// Who waits for first accesses, and for how long; null: nothing in this tree can block. The tree
  /// outlives whatever he has given up.
  virtual Patience* patience() { return nullptr; }

  /// Where `path` really is, links followed, relative to the root; empty if it is nowhere.
  virtual std::string real_path(const char* path) = 0;

  /// The bits of a file's mode that say who may read and write it. Not every tree knows them.
  virtual int permissions(const char* path);
};

/// The tree below a folder: "/sys" for the kernel's.
class Folder : public Tree {
 public:
  explicit Folder(std::string root) : root_(std::move(root)) {}
  Folder(std::string root, int patience_s) : root_(std::move(root)), patience_(patience_s) {}

  int open(const char* path, Mode mode) override;
  ssize_t read(int handle, std::span<char> text) override;
  ssize_t write(int handle, std::string_view text) override;
  void close(int handle) override;
  int list(const char* folder, std::vector<std::string>& names) override;
  std::string real_path(const char* path) override;
  Patience* patience() override { return &patience_; }
  int permissions(const char* path) override;

 private:
  const std::string root_;
  Patience patience_;
};

}  // namespace sysfs
