#pragma once

#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

/// A queue between one thread that must not be held up and one that has time. When it is full, what
/// comes is dropped and counted. Its memory is there before the first entry, and kept there if the
/// limit on locked memory allows it.
template <class Entry>
class Ring {
  static_assert(std::is_trivially_copyable_v<Entry>);

 public:
  /// Room for `capacity` entries, rounded up to a power of two.
  explicit Ring(std::size_t capacity)
      : entries_(std::bit_ceil(std::max<std::size_t>(capacity, 2))), mask_(entries_.size() - 1) {
    locked_ = mlock(entries_.data(), bytes()) == 0;  // the vector has touched it all
  }
  Ring(const Ring&) = delete;
  Ring& operator=(const Ring&) = delete;
  ~Ring() {
    if (locked_) {
      munlock(entries_.data(), bytes());
    }
  }

  /// Appends, or counts the entry as dropped. Neither waits nor allocates. Thread: the one writer.
  void push(const Entry& entry) noexcept {
    const std::uint64_t end = end_.load(std::memory_order_relaxed);  // its only writer is here
    if (end - begin_seen_ == entries_.size()) {
      // Acquire: the reader is done with the entry that is overwritten next.
      begin_seen_ = begin_.load(std::memory_order_acquire);
      if (end - begin_seen_ == entries_.size()) {
        // Relaxed: a figure that stands for nothing else. Its only writer is here.
        dropped_.store(dropped_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        return;
      }
    }
    entries_[end & mask_] = entry;
    end_.store(end + 1, std::memory_order_release);  // the entry is whole
  }

  /// Takes out the oldest entry; false if there is none. Thread: the one reader.
  bool pop(Entry& entry) noexcept {
    const std::uint64_t begin = begin_.load(std::memory_order_relaxed);  // its only writer is here
    if (begin == end_.load(std::memory_order_acquire)) {
      return false;
    }
    entry = entries_[begin & mask_];
    begin_.store(begin + 1, std::memory_order_release);
    return true;
  }

  /// How many entries have been dropped. Thread: any.
  std::uint64_t dropped() const noexcept { return dropped_.load(std::memory_order_relaxed); }

  std::size_t capacity() const noexcept { return entries_.size(); }

 private:
  static constexpr std::size_t kLine = 64;  // bytes: a line of the caches of most processors

  std::size_t bytes() const { return entries_.size() * sizeof(Entry); }

  // What both read, and each side's own figures, on lines of their own, so that no side takes from
  // the other what it has not written.
  alignas(kLine) std::vector<Entry> entries_;
  std::uint64_t mask_;
  bool locked_ = false;
  alignas(kLine) std::atomic<std::uint64_t> end_{0};
  std::uint64_t begin_seen_ = 0;
  std::atomic<std::uint64_t> dropped_{0};
  alignas(kLine) std::atomic<std::uint64_t> begin_{0};
};
