#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// Something that was said in a run.
struct Word {
  enum class Kind : std::int32_t { refused, error, forced };
  static constexpr std::size_t kLongest = 400;  ///< bytes of text; what is longer is cut

  Kind kind = Kind::refused;
  std::int64_t at_ns = 0;       ///< of CLOCK_MONOTONIC
  std::uint32_t thread = 0;     ///< of an error
  std::int32_t processor = -1;  ///< of an error
  std::uint32_t what = 0;  ///< of a refusal: how many bytes of the text are what was refused; of a
                           ///< forcing: what was forced
  std::uint32_t length = 0;
  std::array<char, kLongest> text{};

  void append(std::string_view more) noexcept;
  std::string_view view() const noexcept { return {text.data(), length}; }
};

/// A queue of words from any threads to one. No thread waits for another: when it is full, what
/// comes is dropped and counted.
///
/// A cell's turn says whose it is: 2n before the n-th round is written to it, 2n + 1 when it can be
/// read.
class WordQueue {
 public:
  static constexpr std::size_t kCapacity = 256;

  /// Thread: any.
  void push(const Word& word) noexcept;

  /// Takes out the oldest word; false if there is none. Thread: the one reader.
  bool pop(Word& word) noexcept;

  std::uint64_t dropped() const noexcept { return dropped_.load(std::memory_order_relaxed); }

 private:
  struct Cell {
    std::atomic<std::uint64_t> turn{0};
    Word word;
  };

  std::array<Cell, kCapacity> cells_;
  std::atomic<std::uint64_t> end_{0};
  std::uint64_t begin_ = 0;
  std::atomic<std::uint64_t> dropped_{0};
};
