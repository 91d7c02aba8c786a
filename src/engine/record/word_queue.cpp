#include "engine/record/word_queue.h"

#include <algorithm>
#include <cstring>

void Word::append(std::string_view more) noexcept {
  const std::size_t fits = std::min(more.size(), kLongest - length);
  std::memcpy(text.data() + length, more.data(), fits);
  length += static_cast<std::uint32_t>(fits);
}

void WordQueue::push(const Word& word) noexcept {
  // Relaxed: the turn of the cell gives the order.
  std::uint64_t at = end_.load(std::memory_order_relaxed);
  for (;;) {
    Cell& cell = cells_[at % kCapacity];
    const std::uint64_t free_turn = at / kCapacity * 2;
    const std::uint64_t turn = cell.turn.load(std::memory_order_acquire);
    if (turn < free_turn) {  // not read since the last round
      dropped_.fetch_add(1, std::memory_order_relaxed);
      return;
    }
    if (turn > free_turn) {  // another thread was faster
      at = end_.load(std::memory_order_relaxed);
    } else if (end_.compare_exchange_weak(at, at + 1, std::memory_order_relaxed)) {
      cell.word = word;
      cell.turn.store(free_turn + 1, std::memory_order_release);
      return;
    }
  }
}

bool WordQueue::pop(Word& word) noexcept {
  Cell& cell = cells_[begin_ % kCapacity];
  const std::uint64_t written_turn = begin_ / kCapacity * 2 + 1;
  if (cell.turn.load(std::memory_order_acquire) != written_turn) {
    return false;
  }
  word = cell.word;
  cell.turn.store(written_turn + 1, std::memory_order_release);
  ++begin_;
  return true;
}
