#include "engine/loads/fma_kernel.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "engine/loads/aligned.h"
#include "engine/loads/recurrence.h"

// A multiply-add takes four or five cycles and each unit begins one per cycle. Two such units, as
// all x86 processors have, need ten chains; the four of some ARM processors need sixteen. A chain
// takes a register, the constants four: 12 chains fit where there are 16 registers, 16 elsewhere.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/loads/fma_kernel.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace loads::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_ARCH_X86 && HWY_TARGET > HWY_AVX3
constexpr bool kManyRegisters = false;
#else
constexpr bool kManyRegisters = true;
#endif

std::size_t fma_lanes() {
  return hn::Lanes(hn::ScalableTag<double>());
}

std::size_t fma_chains() {
  return kManyRegisters ? 16 : 12;
}

bool fma_is_fused() {
  return HWY_NATIVE_FMA != 0;
}

void fma_burst(const double* HWY_RESTRICT seeds, double* HWY_RESTRICT ends, unsigned rounds) {
  const hn::ScalableTag<double> d;
  const std::size_t n = hn::Lanes(d);
  const auto f1 = hn::Set(d, recurrence::kFactor1);
  const auto f2 = hn::Set(d, recurrence::kFactor2);
  const auto t1 = hn::Set(d, recurrence::kTerm1);
  const auto t2 = hn::Set(d, recurrence::kTerm2);
  auto x0 = hn::Load(d, seeds);
  auto x1 = hn::Load(d, seeds + n);
  auto x2 = hn::Load(d, seeds + 2 * n);
  auto x3 = hn::Load(d, seeds + 3 * n);
  auto x4 = hn::Load(d, seeds + 4 * n);
  auto x5 = hn::Load(d, seeds + 5 * n);
  auto x6 = hn::Load(d, seeds + 6 * n);
  auto x7 = hn::Load(d, seeds + 7 * n);
  auto x8 = hn::Load(d, seeds + 8 * n);
  auto x9 = hn::Load(d, seeds + 9 * n);
  auto xa = hn::Load(d, seeds + 10 * n);
  auto xb = hn::Load(d, seeds + 11 * n);
  [[maybe_unused]] auto xc = hn::Load(d, seeds + (kManyRegisters ? 12 : 0) * n);
  [[maybe_unused]] auto xd = hn::Load(d, seeds + (kManyRegisters ? 13 : 0) * n);
  [[maybe_unused]] auto xe = hn::Load(d, seeds + (kManyRegisters ? 14 : 0) * n);
  [[maybe_unused]] auto xf = hn::Load(d, seeds + (kManyRegisters ? 15 : 0) * n);
  for (unsigned round = 0; round < rounds; ++round) {
    x0 = hn::MulAdd(x0, f1, t1);
    x1 = hn::MulAdd(x1, f1, t1);
    x2 = hn::MulAdd(x2, f1, t1);
    x3 = hn::MulAdd(x3, f1, t1);
    x4 = hn::MulAdd(x4, f1, t1);
    x5 = hn::MulAdd(x5, f1, t1);
    x6 = hn::MulAdd(x6, f1, t1);
    x7 = hn::MulAdd(x7, f1, t1);
    x8 = hn::MulAdd(x8, f1, t1);
    x9 = hn::MulAdd(x9, f1, t1);
    xa = hn::MulAdd(xa, f1, t1);
    xb = hn::MulAdd(xb, f1, t1);
    if constexpr (kManyRegisters) {
      xc = hn::MulAdd(xc, f1, t1);
      xd = hn::MulAdd(xd, f1, t1);
      xe = hn::MulAdd(xe, f1, t1);
      xf = hn::MulAdd(xf, f1, t1);
    }
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
    if constexpr (kManyRegisters) {
      xc = hn::MulAdd(xc, f2, t2);
      xd = hn::MulAdd(xd, f2, t2);
      xe = hn::MulAdd(xe, f2, t2);
      xf = hn::MulAdd(xf, f2, t2);
    }
  }
  hn::Store(x0, d, ends);
  hn::Store(x1, d, ends + n);
  hn::Store(x2, d, ends + 2 * n);
  hn::Store(x3, d, ends + 3 * n);
  hn::Store(x4, d, ends + 4 * n);
  hn::Store(x5, d, ends + 5 * n);
  hn::Store(x6, d, ends + 6 * n);
  hn::Store(x7, d, ends + 7 * n);
  hn::Store(x8, d, ends + 8 * n);
  hn::Store(x9, d, ends + 9 * n);
  hn::Store(xa, d, ends + 10 * n);
  hn::Store(xb, d, ends + 11 * n);
  if constexpr (kManyRegisters) {
    hn::Store(xc, d, ends + 12 * n);
    hn::Store(xd, d, ends + 13 * n);
    hn::Store(xe, d, ends + 14 * n);
    hn::Store(xf, d, ends + 15 * n);
  }
}

}  // namespace
}  // namespace loads::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace loads {
namespace {

HWY_EXPORT(fma_lanes);
HWY_EXPORT(fma_chains);
HWY_EXPORT(fma_is_fused);
HWY_EXPORT(fma_burst);

class FmaKernel final : public Kernel {
 public:
  FmaKernel()
      : fused_(HWY_DYNAMIC_DISPATCH(fma_is_fused)()),
        elements_(HWY_DYNAMIC_DISPATCH(fma_lanes)() * HWY_DYNAMIC_DISPATCH(fma_chains)()),
        seeds_(make_aligned_doubles(elements_)),
        ends_(make_aligned_doubles(elements_)),
        expected_(make_aligned_doubles(elements_)) {
    for (std::size_t i = 0; i < elements_; ++i) {
      seeds_[i] = recurrence::seed(i);
    }
    set_rounds(1);
  }

  void set_rounds(unsigned rounds) override {
    rounds_ = std::min(rounds, recurrence::kMostRounds);
    for (std::size_t i = 0; i < elements_; ++i) {
      double x = seeds_[i];
      for (unsigned round = 0; round < rounds_; ++round) {
        x = stepped(x, recurrence::kFactor1, recurrence::kTerm1);
        x = stepped(x, recurrence::kFactor2, recurrence::kTerm2);
      }
      expected_[i] = x;
    }
  }

  unsigned rounds() const override { return rounds_; }

  Burst burst() noexcept override {
    HWY_DYNAMIC_DISPATCH(fma_burst)(seeds_.get(), ends_.get(), rounds_);
    const bool correct = std::memcmp(ends_.get(), expected_.get(), elements_ * sizeof(double)) == 0;
    if (flipped_) {
      flip_bit_of_a_seed();
      flipped_ = false;
    }
    constexpr std::uint64_t kOperationsPerRound = 4;
    return {.work = {.operations = kOperationsPerRound * rounds_ * elements_}, .correct = correct};
  }

  void flip_bit() noexcept override {
    flip_bit_of_a_seed();
    flipped_ = true;
  }

 private:
  // As the vectors do it: rounded once if they fuse, else twice.
  double stepped(double x, double factor, double term) const {
    if (fused_) {
      return std::fma(x, factor, term);
    }
    const double product = x * factor;
    return product + term;
  }

  // A low bit, but not one that the first rounding may take back.
  void flip_bit_of_a_seed() noexcept {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &seeds_[elements_ / 2], sizeof bits);
    bits ^= 1U << 6U;
    std::memcpy(&seeds_[elements_ / 2], &bits, sizeof bits);
  }

  bool fused_;
  std::size_t elements_;
  AlignedDoubles seeds_;
  AlignedDoubles ends_;
  AlignedDoubles expected_;
  unsigned rounds_ = 1;
  bool flipped_ = false;
};

}  // namespace

std::unique_ptr<Kernel> make_fma_kernel() {
  return std::make_unique<FmaKernel>();
}

}  // namespace loads

#endif  // HWY_ONCE
