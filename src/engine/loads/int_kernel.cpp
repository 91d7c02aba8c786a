#include "engine/loads/int_kernel.h"

#include <array>
#include <bit>
#include <cstddef>

// A step is a shift, an exclusive or, a multiplication, an addition and a rotation: seven cycles
// one after the other. Six chains of them are as much as a wide processor begins in that time, and
// with their two constants they fit into the registers.

namespace loads {
namespace {

constexpr std::size_t kChains = 6;
constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;  // odd, bits well mixed: of the golden ratio
constexpr std::uint64_t kTerm = 0xD1B54A32D192ED03;
constexpr std::uint64_t kOperationsPerStep = 5;

using Chains = std::array<std::uint64_t, kChains>;

inline std::uint64_t stepped(std::uint64_t x) {
  x ^= x >> 29U;
  x *= kFactor;
  x += kTerm;
  return std::rotl(x, 17);
}

Chains ends_of(const Chains& seeds, unsigned rounds) {
  auto [a, b, c, d, e, f] = seeds;
  for (unsigned round = 0; round < rounds; ++round) {
    a = stepped(a);
    b = stepped(b);
    c = stepped(c);
    d = stepped(d);
    e = stepped(e);
    f = stepped(f);
  }
  return {a, b, c, d, e, f};
}

class IntKernel final : public Kernel {
 public:
  IntKernel() { set_rounds(1); }

  void set_rounds(unsigned rounds) override {
    rounds_ = rounds;
    for (std::size_t chain = 0; chain < kChains; ++chain) {
      std::uint64_t x = seeds_[chain];
      for (unsigned round = 0; round < rounds; ++round) {
        x = stepped(x);
      }
      expected_[chain] = x;
    }
  }

  unsigned rounds() const override { return rounds_; }

  Burst burst() noexcept override {
    const bool correct = ends_of(seeds_, rounds_) == expected_;
    if (flipped_) {
      seeds_[0] ^= 1U;
      flipped_ = false;
    }
    return {.work = {.operations = kOperationsPerStep * kChains * rounds_}, .correct = correct};
  }

  void flip_bit() noexcept override {
    seeds_[0] ^= 1U;
    flipped_ = true;
  }

 private:
  Chains seeds_{1, 22, 333, 4444, 55555, 666666};
  Chains expected_{};
  unsigned rounds_ = 1;
  bool flipped_ = false;
};

}  // namespace

std::unique_ptr<Kernel> make_int_kernel() {
  return std::make_unique<IntKernel>();
}

}  // namespace loads
