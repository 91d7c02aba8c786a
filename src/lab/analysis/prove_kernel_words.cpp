#include "lab/analysis/prove_kernel_words.h"

#include "lab/analysis/prove_times.h"

namespace lab {

std::string whose_word(const Proof& proof) {
  const std::string own =
      "This is the engine's own word: its threads read the clock as they began and ended. "
      "Processor time is the kernel's account. The kernel's trace of its scheduler, which only "
      "root can read, was ";
  if (!proof.kernel) {
    return own + "not looked at.";
  }
  const KernelView& kernel = *proof.kernel;
  const Spread on = seen(kernel.wave.on);
  const Spread off = seen(kernel.wave.off);
  const Spread skew = seen(kernel.wave.skew);
  const Spread behind = seen(kernel.read_behind);
  const double half_us = half_period_us(proof);
  if (on.count() == 0 || behind.count() == 0) {
    return own + "looked at beside it, and has no begin of the square wave.";
  }
  std::string text = own + "looked at beside it: by it on edges are p99 " +
                     microseconds(on.at(0.99), half_us) + ", off edges " +
                     microseconds(off.at(0.99), half_us);
  if (skew.count() > 0) {
    text += ", skew p99 " + microseconds(skew.at(0.99), half_us);
  }
  text += "; the engine's begins lie " + microseconds(behind.at(0.5), half_us) + " behind (p99 " +
          microseconds(behind.at(0.99), half_us) + ")";
  if (const std::size_t missed = kernel.read_behind.missed(); missed > 0) {
    text += "; it has no event of " + std::to_string(missed) + " of " +
            std::to_string(kernel.read_behind.count()) + " begins";
  }
  return text + ".";
}

std::string who_else_saw_it(const Proof& proof) {
  if (!proof.kernel) {
    return "not by this run: instants are the engine's own word, processor time is the kernel's";
  }
  const Spread& begins = proof.kernel->read_behind;
  return "the kernel's trace has " + std::to_string(begins.count() - begins.missed()) + " of " +
         std::to_string(begins.count()) + " begins of the engine's record";
}

void judge_kernel(const KernelView& kernel, std::vector<std::string>& warnings) {
  constexpr double kLate_us = 100;
  if (kernel.lost > 0) {
    warnings.push_back("The kernel's trace lacks " + std::to_string(kernel.lost) +
                       " events, which found no room in its buffer: use a lower --frequency.");
  }
  const Spread behind = seen(kernel.read_behind);
  if (behind.at(0.5) > kLate_us) {
    warnings.push_back(
        "The engine says that it began " + microseconds(behind.at(0.5), kLate_us) +
        " (median) later than the kernel gave it a processor: something ran between, "
        "such as the handling of interrupts.");
  }
}

}  // namespace lab
