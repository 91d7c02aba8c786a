#pragma once

#include <atomic>

/// A one-byte flag that threads read and write without a lock.
///
/// Every access is relaxed. That suffices: the flag carries no data but itself. Where an order
/// matters, a mutex or a join gives it. Thread: any.
class RelaxedFlag {
 public:
  // Implicit both ways on purpose: it stands where a plain bool would.
  constexpr RelaxedFlag(bool value) noexcept : value_(value) {}
  RelaxedFlag(const RelaxedFlag&) = delete;
  RelaxedFlag& operator=(const RelaxedFlag&) = delete;

  operator bool() const noexcept { return value_.load(std::memory_order_relaxed); }
  RelaxedFlag& operator=(bool value) noexcept {
    value_.store(value, std::memory_order_relaxed);
    return *this;
  }

 private:
  std::atomic<bool> value_;
};

static_assert(sizeof(RelaxedFlag) == 1);
