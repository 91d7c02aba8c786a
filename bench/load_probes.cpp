#include "bench/load_probes.h"

#include <chrono>
#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bench/load_probes.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace probes::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// One addition that the next one waits for, and that no compiler can fold into it.
inline std::uint64_t next(std::uint64_t x) {
  asm volatile("" : "+r"(x));
  return x + x;
}

/// Twelve multiply-adds a round, and with `kChain` as many dependent additions as they take cycles
/// on one unit: more than they take on any machine.
template <bool kChain>
double rounds(std::uint64_t count) {
  const hn::ScalableTag<double> d;
  const auto factor = hn::Set(d, 0.999);
  const auto term = hn::Set(d, 0.001);
  auto x0 = hn::Set(d, 1.0);
  auto x1 = hn::Set(d, 2.0);
  auto x2 = hn::Set(d, 3.0);
  auto x3 = hn::Set(d, 4.0);
  auto x4 = hn::Set(d, 5.0);
  auto x5 = hn::Set(d, 6.0);
  auto x6 = hn::Set(d, 7.0);
  auto x7 = hn::Set(d, 8.0);
  auto x8 = hn::Set(d, 9.0);
  auto x9 = hn::Set(d, 10.0);
  auto xa = hn::Set(d, 11.0);
  auto xb = hn::Set(d, 12.0);
  std::uint64_t chain = 1;
  for (std::uint64_t i = 0; i < count; ++i) {
    if constexpr (kChain) {
      chain = next(next(next(next(next(next(next(next(chain))))))));
      chain = next(next(next(next(next(next(next(next(chain))))))));
      chain = next(next(next(next(next(next(next(next(chain))))))));
    }
    x0 = hn::MulAdd(x0, factor, term);
    x1 = hn::MulAdd(x1, factor, term);
    x2 = hn::MulAdd(x2, factor, term);
    x3 = hn::MulAdd(x3, factor, term);
    x4 = hn::MulAdd(x4, factor, term);
    x5 = hn::MulAdd(x5, factor, term);
    x6 = hn::MulAdd(x6, factor, term);
    x7 = hn::MulAdd(x7, factor, term);
    x8 = hn::MulAdd(x8, factor, term);
    x9 = hn::MulAdd(x9, factor, term);
    xa = hn::MulAdd(xa, factor, term);
    xb = hn::MulAdd(xb, factor, term);
  }
  asm volatile("" : : "r"(chain));
  auto sum = hn::Add(x0, x1);
  sum = hn::Add(sum, x2);
  sum = hn::Add(sum, x3);
  sum = hn::Add(sum, x4);
  sum = hn::Add(sum, x5);
  sum = hn::Add(sum, x6);
  sum = hn::Add(sum, x7);
  sum = hn::Add(sum, x8);
  sum = hn::Add(sum, x9);
  sum = hn::Add(sum, xa);
  sum = hn::Add(sum, xb);
  return hn::GetLane(sum);
}

double with_chain(std::uint64_t count) {
  return rounds<true>(count);
}

double without_chain(std::uint64_t count) {
  return rounds<false>(count);
}

template <bool kPast>
void copy(const std::uint64_t* HWY_RESTRICT from, std::uint64_t* HWY_RESTRICT to,
          std::size_t words) {
  const hn::ScalableTag<std::uint64_t> d;
  const std::size_t n = hn::Lanes(d);
  for (std::size_t i = 0; i < words; i += 2 * n) {
    const auto a = hn::Load(d, from + i);
    const auto b = hn::Load(d, from + i + n);
    if constexpr (kPast) {
      hn::Stream(a, d, to + i);
      hn::Stream(b, d, to + i + n);
    } else {
      hn::Store(a, d, to + i);
      hn::Store(b, d, to + i + n);
    }
  }
}

void copy_past(const std::uint64_t* from, std::uint64_t* to, std::size_t words) {
  copy<true>(from, to, words);
}

void copy_through(const std::uint64_t* from, std::uint64_t* to, std::size_t words) {
  copy<false>(from, to, words);
}

}  // namespace
}  // namespace probes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace probes {
namespace {

HWY_EXPORT(with_chain);
HWY_EXPORT(without_chain);
HWY_EXPORT(copy_past);
HWY_EXPORT(copy_through);

constexpr std::uint64_t kRounds = 2000;  // some ten microseconds between two looks at the clock
constexpr double kAdditionsPerRound = 24;
constexpr double kMultiplyAddsPerRound = 12;
constexpr std::size_t kPieceWords = 8192;

/// How often a second `piece` runs.
template <typename Piece>
double per_second(double length_s, Piece piece) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point begin = Clock::now();
  double pieces = 0;
  double took = 0;
  while (took < length_s) {
    piece();
    pieces += 1;
    took = std::chrono::duration<double>(Clock::now() - begin).count();
  }
  return pieces / took;
}

/// Where results go, so that they are computed.
volatile double sink;

}  // namespace

double clock_hz(double length_s) {
  return kAdditionsPerRound * kRounds *
         per_second(length_s, [] { sink = HWY_DYNAMIC_DISPATCH(with_chain)(kRounds); });
}

double multiply_adds_per_s(double length_s) {
  return kMultiplyAddsPerRound * kRounds *
         per_second(length_s, [] { sink = HWY_DYNAMIC_DISPATCH(without_chain)(kRounds); });
}

Copy::Copy(std::size_t bytes)
    : words_(bytes / sizeof(std::uint64_t) / kPieceWords * kPieceWords),
      from_(words_ * sizeof(std::uint64_t)),
      to_(words_ * sizeof(std::uint64_t)) {
  for (std::size_t i = 0; i < words_; ++i) {
    from_.words()[i] = i;
    to_.words()[i] = 0;
  }
}

double Copy::bytes_per_s(double length_s, loads::Stores stores) {
  const double pieces = per_second(length_s, [&] {
    const std::uint64_t* from = from_.words() + position_;
    std::uint64_t* to = to_.words() + position_;
    if (stores == loads::Stores::kPastCaches) {
      HWY_DYNAMIC_DISPATCH(copy_past)(from, to, kPieceWords);
    } else {
      HWY_DYNAMIC_DISPATCH(copy_through)(from, to, kPieceWords);
    }
    position_ = (position_ + kPieceWords) % words_;
  });
  return pieces * 2 * kPieceWords * sizeof(std::uint64_t);
}

}  // namespace probes

#endif  // HWY_ONCE
