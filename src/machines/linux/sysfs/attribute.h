#pragma once

#include <string>
#include <string_view>

#include "machines/linux/sysfs/result.h"
#include "machines/linux/sysfs/tree.h"

namespace sysfs {

/// One attribute file, opened once with the rights of that moment, for one direction. A read is
/// one system call, but for interrupted ones and those that ask to be repeated, which are tried
/// three times. Opening, and the first read, are given up after a time (see Patience): then the
/// attribute is silent. Outlived by its tree. Thread: one at a time.
class Attribute {
 public:
  static Result<Attribute> open(Tree& tree, std::string path, Mode mode);

  Attribute(Attribute&& other) noexcept;
  Attribute& operator=(Attribute&& other) noexcept;
  Attribute(const Attribute&) = delete;
  Attribute& operator=(const Attribute&) = delete;
  ~Attribute();

  /// The whole text, trimmed; nothing at all is silence.
  Result<std::string> read_text();

  /// A whole number; a text that is none is nonsense.
  Result<long long> read_integer();

  Result<Done> write(std::string_view text);
  Result<Done> write(long long value);

  const std::string& path() const { return path_; }

 private:
  Attribute(Tree& tree, std::string path, int handle)
      : tree_(&tree), path_(std::move(path)), handle_(handle) {}

  Result<std::size_t> read_into(std::span<char> text);

  Tree* tree_;
  std::string path_;
  int handle_;
  bool has_answered_ = false;
};

// The same for an attribute that is needed once.

Result<std::string> read_text(Tree& tree, const std::string& path);
Result<long long> read_integer(Tree& tree, const std::string& path);
Result<Done> write_text(Tree& tree, const std::string& path, std::string_view text);
Result<Done> write_integer(Tree& tree, const std::string& path, long long value);

/// The names in a folder; none if it cannot be listed.
std::vector<std::string> list(Tree& tree, const std::string& folder);

/// Whether there is an attribute, readable or not.
bool exists(Tree& tree, const std::string& path);

}  // namespace sysfs
