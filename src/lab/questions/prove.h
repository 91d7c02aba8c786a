#pragma once

#include "lab/analysis/prove.h"
#include "lab/questions/question.h"

namespace lab {

/// Short bursts, a square wave, steps: how well the tool works here, and what the sensors can show.
class Prove final : public Question {
 public:
  const char* name() const override { return "prove"; }
  const char* summary() const override {
    return "the tool itself on this machine: waveform, wake-ups, sampling, sensors";
  }
  const char* example() const override { return "prove --out proof"; }
  bool looks_at_scheduler() const override { return true; }
  Plan defaults() const override;
  void add_options(CLI::App& app) override;
  Plan plan() const override;
  Answer analyse(const Run& run) const override;
  std::vector<std::string> lacks(const Offer& offer) const override;

 private:
  double frequency_hz_ = 100;
  double duty_ = 0.5;
};

/// What the analysis takes of a run. The phases are known by their names.
ProveInput prove_input(const Run& run);

}  // namespace lab
