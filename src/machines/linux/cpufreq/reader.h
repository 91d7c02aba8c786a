#pragma once

#include <cerrno>
#include <optional>
#include <string>
#include <utility>

#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/sysfs/result.h"
#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// Reads one attribute after the other up to the first failure, which it keeps: from then on
/// nothing is read, and every value is empty. Thread: one at a time.
class Reader {
 public:
  explicit Reader(sysfs::Tree& sys) : sys_(sys) {}

  std::string text(const std::string& path) { return value_of(sysfs::read_text, path); }
  long long number(const std::string& path) { return value_of(sysfs::read_integer, path); }

  std::optional<std::string> text_if_there(const std::string& path) {
    return value_if_there(sysfs::read_text, path);
  }
  std::optional<long long> number_if_there(const std::string& path) {
    return value_if_there(sysfs::read_integer, path);
  }

  /// Keeps this failure, if it is the first.
  void fail(sysfs::Failure failure) {
    if (!failure_) {
      failure_ = std::move(failure);
    }
  }
  const std::optional<sysfs::Failure>& failure() const { return failure_; }

 private:
  template <class Value>
  using Read = sysfs::Result<Value> (*)(sysfs::Tree&, const std::string&);

  template <class Value>
  std::optional<Value> value_if_there(Read<Value> read, const std::string& path) {
    if (failure_) {
      return std::nullopt;
    }
    sysfs::Result<Value> value = read(sys_, path);
    if (value) {
      return std::move(*value);
    }
    if (value.failure().trouble != sysfs::Trouble::absent) {
      fail(value.failure());
    }
    return std::nullopt;
  }

  template <class Value>
  Value value_of(Read<Value> read, const std::string& path) {
    std::optional<Value> value = value_if_there(read, path);
    if (!value) {
      fail(sysfs::failure("reading", path, ENOENT));
      return {};
    }
    return std::move(*value);
  }

  sysfs::Tree& sys_;
  std::optional<sysfs::Failure> failure_;
};

}  // namespace linux_machine
