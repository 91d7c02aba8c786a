#pragma once

#include "lab/questions/question.h"

namespace lab {

/// A run as the engine's own options describe it, with statistics of its samples.
class JustRun final : public Question {
 public:
  const char* name() const override { return "run"; }
  const char* summary() const override {
    return "just a run, as the options of vorn-engine describe it";
  }
  const char* example() const override { return "run -w bmix -f 20 -z 0.1 -t 2m"; }
  bool has_command() const override {
    return false;
  }  // one of its own: its options are the engine's
  Plan plan() const override;
  Answer analyse(const Run& run) const override;
  std::vector<std::string> lacks(const Offer& offer) const override;
};

}  // namespace lab
