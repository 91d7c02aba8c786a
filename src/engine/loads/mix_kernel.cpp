#include "engine/loads/mix_kernel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "engine/loads/aligned.h"
#include "engine/loads/buffer.h"
#include "engine/loads/recurrence.h"

// A unit of work is four steps of twelve chains: 48 multiply-adds, some 24 cycles of two vector
// units. Beside them go 20 loads from the first cache, 4 from the second, 1 from the last and 1
// from memory, each of a line of its own: about what each level can deliver in that time to
// one processor of many, so that none of them holds up the others.
//
// Every region is filled with the same sixteen lines again and again, and a burst goes over whole
// sets of them: wherever it begins, it meets the same numbers, and ends in the same ones.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/loads/mix_kernel.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#ifndef LOADS_MIX_KERNEL_NUMBERS
#define LOADS_MIX_KERNEL_NUMBERS
namespace loads {
namespace {

constexpr std::size_t kMixChains = 12;
constexpr std::size_t kSet = 16;  // lines after which the numbers repeat
constexpr std::size_t kSecondPerUnit = 4;

/// Where a burst begins to read, and how far apart the lines are, in doubles.
struct MixOperands {
  const double* seeds;
  double* ends;
  const double* first;  ///< two sets of lines, read from the start by each unit
  const double* second;
  const double* last;
  const double* memory;
  std::size_t line;
  unsigned units;
};

}  // namespace
}  // namespace loads
#endif

HWY_BEFORE_NAMESPACE();
namespace loads::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

std::size_t mix_lanes() {
  return hn::Lanes(hn::ScalableTag<double>());
}

bool mix_is_fused() {
  return HWY_NATIVE_FMA != 0;
}

void mix_burst(const MixOperands& o) {
  const hn::ScalableTag<double> d;
  const std::size_t n = hn::Lanes(d);
  const auto f1 = hn::Set(d, recurrence::kFactor1);
  const auto f2 = hn::Set(d, recurrence::kFactor2);
  const auto t2 = hn::Set(d, recurrence::kTerm2);
  auto x0 = hn::Load(d, o.seeds + 0 * n);
  auto x1 = hn::Load(d, o.seeds + 1 * n);
  auto x2 = hn::Load(d, o.seeds + 2 * n);
  auto x3 = hn::Load(d, o.seeds + 3 * n);
  auto x4 = hn::Load(d, o.seeds + 4 * n);
  auto x5 = hn::Load(d, o.seeds + 5 * n);
  auto x6 = hn::Load(d, o.seeds + 6 * n);
  auto x7 = hn::Load(d, o.seeds + 7 * n);
  auto x8 = hn::Load(d, o.seeds + 8 * n);
  auto x9 = hn::Load(d, o.seeds + 9 * n);
  auto xa = hn::Load(d, o.seeds + 10 * n);
  auto xb = hn::Load(d, o.seeds + 11 * n);
  const std::size_t line = o.line;
  const double* second = o.second;
  const double* last = o.last;
  const double* memory = o.memory;
  // Units ahead of their use that lines are asked for: longer than memory takes to answer.
  constexpr std::size_t kAhead = 24;
  for (unsigned unit = 0; unit < o.units; ++unit) {
    const double* first = o.first + unit % kSet * line;
    hwy::Prefetch(memory + kAhead * line);
    hwy::Prefetch(last + kAhead * line);
    x0 = hn::MulAdd(x0, f1, hn::Load(d, first + 0 * line));
    x1 = hn::MulAdd(x1, f1, hn::Load(d, first + 1 * line));
    x2 = hn::MulAdd(x2, f1, hn::Load(d, first + 2 * line));
    x3 = hn::MulAdd(x3, f1, hn::Load(d, first + 3 * line));
    x4 = hn::MulAdd(x4, f1, hn::Load(d, first + 4 * line));
    x5 = hn::MulAdd(x5, f1, hn::Load(d, first + 5 * line));
    x6 = hn::MulAdd(x6, f1, hn::Load(d, first + 6 * line));
    x7 = hn::MulAdd(x7, f1, hn::Load(d, first + 7 * line));
    x8 = hn::MulAdd(x8, f1, hn::Load(d, first + 8 * line));
    x9 = hn::MulAdd(x9, f1, hn::Load(d, first + 9 * line));
    xa = hn::MulAdd(xa, f1, hn::Load(d, first + 10 * line));
    xb = hn::MulAdd(xb, f1, hn::Load(d, first + 11 * line));
    x0 = hn::MulAdd(x0, f2, t2);
    x1 = hn::MulAdd(x1, f2, t2);
    x2 = hn::MulAdd(x2, f2, t2);
    x3 = hn::MulAdd(x3, f2, t2);
    x4 = hn::MulAdd(x4, f2, t2);
    x5 = hn::MulAdd(x5, f2, t2);
    x6 = hn::MulAdd(x6, f2, t2);
    x7 = hn::MulAdd(x7, f2, t2);
    x8 = hn::MulAdd(x8, f2, t2);
    x9 = hn::MulAdd(x9, f2, t2);
    xa = hn::MulAdd(xa, f2, t2);
    xb = hn::MulAdd(xb, f2, t2);
    x0 = hn::MulAdd(x0, f1, hn::Load(d, second + 0 * line));
    x1 = hn::MulAdd(x1, f1, hn::Load(d, first + 4 * line));
    x2 = hn::MulAdd(x2, f1, hn::Load(d, first + 5 * line));
    x3 = hn::MulAdd(x3, f1, hn::Load(d, second + 1 * line));
    x4 = hn::MulAdd(x4, f1, hn::Load(d, first + 7 * line));
    x5 = hn::MulAdd(x5, f1, hn::Load(d, first + 8 * line));
    x6 = hn::MulAdd(x6, f1, hn::Load(d, second + 2 * line));
    x7 = hn::MulAdd(x7, f1, hn::Load(d, first + 10 * line));
    x8 = hn::MulAdd(x8, f1, hn::Load(d, first + 11 * line));
    x9 = hn::MulAdd(x9, f1, hn::Load(d, second + 3 * line));
    xa = hn::MulAdd(xa, f1, hn::Load(d, first + 13 * line));
    xb = hn::MulAdd(xb, f1, hn::Load(d, first + 14 * line));
    x0 = hn::MulAdd(x0, f2, hn::Load(d, last));
    x1 = hn::MulAdd(x1, f2, hn::Load(d, memory));
    x2 = hn::MulAdd(x2, f2, t2);
    x3 = hn::MulAdd(x3, f2, t2);
    x4 = hn::MulAdd(x4, f2, t2);
    x5 = hn::MulAdd(x5, f2, t2);
    x6 = hn::MulAdd(x6, f2, t2);
    x7 = hn::MulAdd(x7, f2, t2);
    x8 = hn::MulAdd(x8, f2, t2);
    x9 = hn::MulAdd(x9, f2, t2);
    xa = hn::MulAdd(xa, f2, t2);
    xb = hn::MulAdd(xb, f2, t2);
    second += kSecondPerUnit * line;
    last += line;
    memory += line;
  }
  hn::Store(x0, d, o.ends + 0 * n);
  hn::Store(x1, d, o.ends + 1 * n);
  hn::Store(x2, d, o.ends + 2 * n);
  hn::Store(x3, d, o.ends + 3 * n);
  hn::Store(x4, d, o.ends + 4 * n);
  hn::Store(x5, d, o.ends + 5 * n);
  hn::Store(x6, d, o.ends + 6 * n);
  hn::Store(x7, d, o.ends + 7 * n);
  hn::Store(x8, d, o.ends + 8 * n);
  hn::Store(x9, d, o.ends + 9 * n);
  hn::Store(xa, d, o.ends + 10 * n);
  hn::Store(xb, d, o.ends + 11 * n);
}

}  // namespace
}  // namespace loads::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace loads {
namespace {

HWY_EXPORT(mix_lanes);
HWY_EXPORT(mix_is_fused);
HWY_EXPORT(mix_burst);

/// Memory filled with the sixteen lines, and where the next burst reads it.
class Region {
 public:
  Region(std::size_t bytes, std::size_t line, const double* set)
      : lines_(bytes / (line * sizeof(double)) / kSet * kSet),
        line_(line),
        memory_(lines_ * line * sizeof(double)) {
    for (std::size_t at = 0; at < lines_; at += kSet) {
      std::memcpy(memory_.doubles() + at * line, set, kSet * line * sizeof(double));
    }
  }

  std::size_t lines() const { return lines_; }

  /// The next `count` lines, a multiple of the set that the region holds.
  double* next(std::size_t count) {
    if (position_ + count > lines_) {
      position_ = 0;
    }
    double* here = memory_.doubles() + position_ * line_;
    position_ += count;
    return here;
  }

  /// A number that the next `count` lines begin with.
  double* peek(std::size_t count) {
    return memory_.doubles() + (position_ + count > lines_ ? 0 : position_) * line_;
  }

 private:
  std::size_t lines_;
  std::size_t line_;
  std::size_t position_ = 0;
  Buffer memory_;
};

class MixKernel final : public Kernel {
 public:
  explicit MixKernel(const MixRegions& regions)
      : fused_(HWY_DYNAMIC_DISPATCH(mix_is_fused)()),
        lanes_(HWY_DYNAMIC_DISPATCH(mix_lanes)()),
        line_(std::max(lanes_, kCacheLine / sizeof(double))),
        seeds_(make_aligned_doubles(kMixChains * lanes_)),
        ends_(make_aligned_doubles(kMixChains * lanes_)),
        expected_(make_aligned_doubles(kMixChains * lanes_)),
        first_(make_aligned_doubles(2 * kSet * line_)),
        second_(regions.second_cache, line_, fill_first()),
        last_(regions.last_cache, line_, first_.get()),
        memory_(regions.memory, line_, first_.get()) {
    for (std::size_t i = 0; i < kMixChains * lanes_; ++i) {
      seeds_[i] = recurrence::seed(i);
    }
    set_rounds(1);
  }

  void set_rounds(unsigned rounds) override {
    const std::size_t most =
        std::min({std::size_t{recurrence::kMostRounds} / kUnitsPerRound,
                  second_.lines() / kSecondPerUnit / kUnitsPerRound, last_.lines() / kUnitsPerRound,
                  memory_.lines() / kUnitsPerRound});
    rounds_ = std::min(rounds, static_cast<unsigned>(most));
    for (std::size_t chain = 0; chain < kMixChains; ++chain) {
      for (std::size_t lane = 0; lane < lanes_; ++lane) {
        expected_[chain * lanes_ + lane] = end_of(chain, lane);
      }
    }
  }

  unsigned rounds() const override { return rounds_; }

  Burst burst() noexcept override {
    const unsigned units = rounds_ * kUnitsPerRound;
    double* const from_memory = memory_.next(units);
    HWY_DYNAMIC_DISPATCH(mix_burst)
    ({.seeds = seeds_.get(),
      .ends = ends_.get(),
      .first = first_.get(),
      .second = second_.next(units * kSecondPerUnit),
      .last = last_.next(units),
      .memory = from_memory,
      .line = line_,
      .units = units});
    const bool correct =
        std::memcmp(ends_.get(), expected_.get(), kMixChains * lanes_ * sizeof(double)) == 0;
    if (flipped_ != nullptr) {
      flip(flipped_);
      flipped_ = nullptr;
    }
    constexpr std::uint64_t kOperationsPerUnit = kMixChains * 2 * 4;
    constexpr std::uint64_t kLoadsPerUnit = 26;
    return {.work = {.operations = kOperationsPerUnit * units * lanes_,
                     .bytes = kLoadsPerUnit * units * lanes_ * sizeof(double)},
            .correct = correct};
  }

  void flip_bit() noexcept override {
    flipped_ = memory_.peek(std::size_t{rounds_} * kUnitsPerRound);
    flip(flipped_);
  }

 private:
  static constexpr std::size_t kCacheLine = 64;
  static constexpr unsigned kUnitsPerRound = kSet;

  const double* fill_first() {
    for (std::size_t i = 0; i < 2 * kSet * line_; ++i) {
      first_[i] = recurrence::seed(i % (kSet * line_)) - 1;
    }
    return first_.get();
  }

  double stepped(double x, double factor, double term) const {
    if (fused_) {
      return std::fma(x, factor, term);
    }
    const double product = x * factor;
    return product + term;
  }

  double loaded(std::size_t line, std::size_t lane) const {
    return first_[line % kSet * line_ + lane];
  }

  /// What the burst must come to in one lane, by the same steps in scalar code.
  double end_of(std::size_t chain, std::size_t lane) const {
    using recurrence::kFactor1;
    using recurrence::kFactor2;
    using recurrence::kTerm2;
    double x = seeds_[chain * lanes_ + lane];
    for (std::size_t unit = 0; unit < std::size_t{rounds_} * kUnitsPerRound; ++unit) {
      x = stepped(x, kFactor1, loaded(unit + chain, lane));
      x = stepped(x, kFactor2, kTerm2);
      x = stepped(x, kFactor1,
                  chain % 3 == 0 ? loaded(unit * kSecondPerUnit + chain / 3, lane)
                                 : loaded(unit + chain + 3, lane));
      x = stepped(x, kFactor2, chain < 2 ? loaded(unit, lane) : kTerm2);
    }
    return x;
  }

  // High enough to be seen above the sums that it goes into.
  static void flip(double* value) noexcept {
    std::uint64_t bits = 0;
    std::memcpy(&bits, value, sizeof bits);
    bits ^= std::uint64_t{1} << 40U;
    std::memcpy(value, &bits, sizeof bits);
  }

  bool fused_;
  std::size_t lanes_;
  std::size_t line_;  ///< doubles from one line to the next
  AlignedDoubles seeds_;
  AlignedDoubles ends_;
  AlignedDoubles expected_;
  AlignedDoubles first_;
  Region second_;
  Region last_;
  Region memory_;
  unsigned rounds_ = 1;
  double* flipped_ = nullptr;
};

}  // namespace

std::unique_ptr<Kernel> make_mix_kernel(const MixRegions& regions) {
  return std::make_unique<MixKernel>(regions);
}

}  // namespace loads

#endif  // HWY_ONCE
