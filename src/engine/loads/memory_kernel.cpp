#include "engine/loads/memory_kernel.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

#include "engine/loads/buffer.h"

// The memory is two halves, A and B, which are walked in granules. At position i of pass p, one
// granule each:
//
//   A[i] is written with the numbers of pass p;
//   A[j] is copied to B[j], half a pass behind, j = i - n/2 (modulo n);
//   B[i] is read and added up.
//
// Whatever is touched was touched last when everything else has been since, so it comes from where
// that much fits. Word w of pass p is p * kPass + w * kStep, modulo 2^64: the bits of neighbours
// have nothing in common, vectors make it with one addition, and the sum of a granule is a formula.
// B[i] was copied in the pass before, or in the first half of this one, but holds the numbers of p
// - 1 either way. A wrong bit is found once, by the read, no later than a pass and a half after it
// went wrong.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/loads/memory_kernel.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#ifndef LOADS_MEMORY_KERNEL_NUMBERS
#define LOADS_MEMORY_KERNEL_NUMBERS
namespace loads {
namespace {

constexpr std::uint64_t kStep = 0x9E3779B97F4A7C15;  // odd; see above
constexpr std::uint64_t kPass = 0xD1B54A32D192ED03;

/// What a granule's work is done on; all are `words` long.
struct Granule {
  std::uint64_t* written;
  std::uint64_t first_written;  ///< the number of its first word
  const std::uint64_t* copied_from;
  std::uint64_t* copied_to;
  const std::uint64_t* read;
  std::size_t words;
};

}  // namespace
}  // namespace loads
#endif

HWY_BEFORE_NAMESPACE();
namespace loads::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;
using Tag = hn::ScalableTag<std::uint64_t>;

/// How far ahead of the loads the lines are asked for, in words: some 30 lines, what a processor
/// waits for at once.
constexpr std::size_t kAhead = 256;

template <bool kPast>
std::uint64_t work(const Granule& g) {
  const Tag d;
  const std::size_t n = hn::Lanes(d);
  const auto lane_steps = hn::Mul(hn::Iota(d, 0), hn::Set(d, kStep));
  auto value = hn::Add(hn::Set(d, g.first_written), lane_steps);
  const auto step = hn::Set(d, kStep * n);
  auto sum0 = hn::Zero(d);
  auto sum1 = hn::Zero(d);
  const auto put = [&](auto v, std::uint64_t* to) HWY_ATTR {
    if constexpr (kPast) {
      hn::Stream(v, d, to);
    } else {
      hn::Store(v, d, to);
    }
  };
  for (std::size_t i = 0; i < g.words; i += 2 * n) {
    if constexpr (kPast) {
      hwy::Prefetch(g.read + i + kAhead);
      hwy::Prefetch(g.copied_from + i + kAhead);
    }
    const auto copied0 = hn::Load(d, g.copied_from + i);
    const auto copied1 = hn::Load(d, g.copied_from + i + n);
    put(copied0, g.copied_to + i);
    put(copied1, g.copied_to + i + n);
    sum0 = hn::Add(sum0, hn::Load(d, g.read + i));
    sum1 = hn::Add(sum1, hn::Load(d, g.read + i + n));
    put(value, g.written + i);
    value = hn::Add(value, step);
    put(value, g.written + i + n);
    value = hn::Add(value, step);
  }
  // Lane by lane: the vectors' own sum is one of signed numbers, which must not overflow.
  HWY_ALIGN std::uint64_t lanes[HWY_MAX_BYTES / sizeof(std::uint64_t)];
  hn::Store(hn::Add(sum0, sum1), d, lanes);
  return std::accumulate(lanes, lanes + n, std::uint64_t{0});
}

std::uint64_t memory_past(const Granule& g) {
  return work<true>(g);
}

std::uint64_t memory_through(const Granule& g) {
  return work<false>(g);
}

}  // namespace
}  // namespace loads::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace loads {
namespace {

HWY_EXPORT(memory_past);
HWY_EXPORT(memory_through);

// Small enough for short bursts from slow memory; within a cache, where a line takes a
// cycle or two, large enough that beginning and checking one costs little.
constexpr std::size_t kWordsPast = 128;
constexpr std::size_t kWordsThrough = 512;

class MemoryKernel : public Kernel {
 public:
  MemoryKernel(std::size_t bytes, Stores stores)
      : stores_(stores),
        granule_words_(stores == Stores::kPastCaches ? kWordsPast : kWordsThrough),
        granules_(bytes / 2 / (granule_words_ * sizeof(std::uint64_t)) / 2 * 2),
        // The last loads ask for lines behind it; asking reads nothing, and cannot fault.
        memory_(2 * granules_ * granule_words_ * sizeof(std::uint64_t)),
        a_(memory_.words()),
        b_(a_ + granules_ * granule_words_) {
    for (std::size_t w = 0; w < granules_ * granule_words_; ++w) {
      a_[w] = w * kStep;
      b_[w] = w * kStep;
    }
  }

  void set_rounds(unsigned rounds) override { rounds_ = rounds; }
  unsigned rounds() const override { return rounds_; }

  Burst burst() noexcept override {
    bool correct = true;
    for (unsigned round = 0; round < rounds_; ++round) {
      const std::size_t behind =
          position_ < granules_ / 2 ? position_ + granules_ / 2 : position_ - granules_ / 2;
      const std::size_t here_words = position_ * granule_words_;
      const std::size_t behind_words = behind * granule_words_;
      const Granule granule{.written = a_ + here_words,
                            .first_written = number(pass_, here_words),
                            .copied_from = a_ + behind_words,
                            .copied_to = b_ + behind_words,
                            .read = b_ + here_words,
                            .words = granule_words_};
      const std::uint64_t sum = stores_ == Stores::kPastCaches
                                    ? HWY_DYNAMIC_DISPATCH(memory_past)(granule)
                                    : HWY_DYNAMIC_DISPATCH(memory_through)(granule);
      correct = correct && sum == expected_sum(here_words);
      if (++position_ == granules_) {
        position_ = 0;
        ++pass_;
      }
    }
    constexpr std::uint64_t kTouchesPerWord = 4;  // a read, a write, and a copy's two
    return {.work = {.bytes = kTouchesPerWord * sizeof(std::uint64_t) * granule_words_ * rounds_},
            .correct = correct};
  }

  void flip_bit() noexcept override { b_[position_ * granule_words_ + granule_words_ / 2] ^= 1U; }

 private:
  static std::uint64_t number(std::uint64_t pass, std::size_t word) {
    return pass * kPass + word * kStep;
  }

  std::uint64_t expected_sum(std::size_t first_word) const {
    const std::uint64_t n = granule_words_;
    return n * number(pass_ - 1, first_word) + n * (n - 1) / 2 * kStep;
  }

  Stores stores_;
  std::size_t granule_words_;
  std::size_t granules_;  ///< of each half; even
  Buffer memory_;
  std::uint64_t* a_;
  std::uint64_t* b_;
  unsigned rounds_ = 1;
  std::uint64_t pass_ = 1;
  std::size_t position_ = 0;
};

}  // namespace

std::unique_ptr<Kernel> make_memory_kernel(std::size_t bytes, Stores stores) {
  return std::make_unique<MemoryKernel>(bytes, stores);
}

}  // namespace loads

#endif  // HWY_ONCE
