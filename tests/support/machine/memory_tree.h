#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "machines/linux/sysfs/tree.h"

/// A machine's attribute files in memory. Behaves as the kernel's do: one value an attribute, links
/// followed, permissions as they are (by `superuser`), errors where a test wants them. What a chip
/// does is hung on the attributes as functions. Thread: any.
class MemoryTree : public sysfs::Tree {
 public:
  /// Answers a read: the text, or a negative errno value in `error`.
  struct Answer {
    std::string text;
    int error = 0;
  };
  using OnRead = std::function<Answer(const std::string& stored)>;
  /// Takes a write: 0 stores the text, a negative errno value refuses it; it may change the text,
  /// and other attributes through put().
  using OnWrite = std::function<int(std::string& text)>;

  MemoryTree() = default;
  /// From the text of a fixture; see machine_file.h.
  explicit MemoryTree(const std::string& machine);

  void put(const std::string& path, const std::string& text, int mode = 0644);
  void link(const std::string& path, const std::string& target);
  void remove(const std::string& path);
  void on_read(const std::string& path, OnRead answer);
  void on_write(const std::string& path, OnWrite take);
  /// Every read or write of `path` fails with this errno value (0: no more).
  void fail(const std::string& path, int error);

  std::string text(const std::string& path);      ///< as stored, trimmed; "" if there is none
  std::map<std::string, std::string> snapshot();  ///< every attribute as stored
  int writes() const { return writes_; }
  int open_handles();

  bool superuser = true;  ///< else 0400 cannot be read, 0644 not written

  int open(const char* path, sysfs::Mode mode) override;
  ssize_t read(int handle, std::span<char> text) override;
  ssize_t write(int handle, std::string_view text) override;
  void close(int handle) override;
  int list(const char* folder, std::vector<std::string>& names) override;
  std::string real_path(const char* path) override;
  int permissions(const char* path) override;

 private:
  struct File {
    std::string text;
    int mode = 0644;
    int error = 0;
    OnRead on_read;
    OnWrite on_write;
  };
  std::string resolve(std::string path) const;

  std::recursive_mutex mutex_;
  std::map<std::string, File> files_;
  std::map<std::string, std::string> links_;  ///< from a path to a path, both below the root
  std::map<int, std::string> handles_;
  int last_handle_ = 0;
  int writes_ = 0;
};
