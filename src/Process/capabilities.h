#pragma once

#include <cstdint>

/// Capabilities of a program that was given some as a file, and is neither root's nor set-user-id:
/// with the identity of root come all of them, and this changes nothing. They belong to a thread,
/// and those that it starts inherit them. All of it changes the calling thread alone.
namespace process {

/// A set of capabilities: one bit for each number.
using Capabilities = std::uint64_t;

constexpr Capabilities kNoCapabilities = 0;
Capabilities sys_nice() noexcept;         ///< the right to a fixed priority
Capabilities read_everything() noexcept;  ///< cap_dac_read_search

/// From now on none is effective but where RaisedCapability makes it so: what is opened, is opened
/// with the rights of the user.
void lower_capabilities() noexcept;

/// Gives up all but these, for good.
void keep_capabilities(Capabilities kept) noexcept;

/// Makes a capability effective while it lives, if the thread is permitted it. Of a set-user-id
/// program too, whose rights are permitted and not effective while it runs with its real user id.
class RaisedCapability {
 public:
  explicit RaisedCapability(Capabilities wanted) noexcept;
  ~RaisedCapability();
  RaisedCapability(const RaisedCapability&) = delete;
  RaisedCapability& operator=(const RaisedCapability&) = delete;

  /// Whether it is effective and was not before.
  bool raised() const noexcept { return raised_; }

 private:
  Capabilities effective_before_ = 0;
  bool raised_ = false;
};

}  // namespace process
