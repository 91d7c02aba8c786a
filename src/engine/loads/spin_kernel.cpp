#include "engine/loads/spin_kernel.h"

namespace loads {
namespace {

class SpinKernel : public Kernel {
 public:
  void set_rounds(unsigned /*rounds*/) override {}
  unsigned rounds() const override { return kIterations; }

  Burst burst() noexcept override {
    // In memory, so that no compiler can count it down for us.
    volatile unsigned left = start_;
    unsigned done = 0;
    while (left > 0) {
      left = left - 1;
      ++done;
    }
    const bool correct = done == kIterations;
    start_ = kIterations;
    return {.work = {.operations = done}, .correct = correct};
  }

  void flip_bit() noexcept override { start_ ^= 1U; }

 private:
  static constexpr unsigned kIterations = 100;

  unsigned start_ = kIterations;
};

}  // namespace

std::unique_ptr<Kernel> make_spin_kernel() {
  return std::make_unique<SpinKernel>();
}

}  // namespace loads
