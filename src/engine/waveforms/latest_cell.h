#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <type_traits>

/// Hands the latest value from one thread to another, neither of which ever waits for the other:
/// a writer that is interrupted in the middle of a value keeps nobody from the one before.
///
/// Three slots: one is the writer's, one the reader's, and the one between them holds what was put
/// last. Each thread touches the values of its own slot alone, and changes it for the one between
/// with a single exchange. So no value is read while it is written, however often one is put.
template <class Value>
class LatestCell {
  static_assert(std::is_trivially_copyable_v<Value>);
  static_assert(std::atomic<std::uint8_t>::is_always_lock_free);

 public:
  /// Replaces what has not been taken yet. Thread: the one writer.
  void put(const Value& value) noexcept {
    slots_[writers_] = value;
    // Release: the value is whole for whoever acquires the slot. Acquire: the reader is done with
    // the slot that comes back. Nothing else is handed over, so no stronger order is needed.
    writers_ =
        between_.exchange(static_cast<std::uint8_t>(writers_ | kNew), std::memory_order_acq_rel) &
        kSlot;
  }

  /// Takes what was put last into `value`. False, and `value` as it was, if that was taken before,
  /// or nothing was put. Thread: the one reader.
  bool take(Value& value) noexcept {
    // Relaxed: what comes a moment later is for the next look. The exchange gives the order.
    if ((between_.load(std::memory_order_relaxed) & kNew) == 0) {
      return false;
    }
    readers_ = between_.exchange(readers_, std::memory_order_acq_rel) & kSlot;
    value = slots_[readers_];
    return true;
  }

 private:
  static constexpr std::uint8_t kSlot = 3;
  static constexpr std::uint8_t kNew = 4;  ///< not taken yet

  std::array<Value, 3> slots_{};
  std::uint8_t writers_ = 0;
  std::atomic<std::uint8_t> between_{1};
  std::uint8_t readers_ = 2;
};
