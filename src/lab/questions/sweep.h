#pragma once

#include <optional>
#include <string>

#include "lab/questions/question.h"

namespace lab {

/// One setting after another, each until all has settled: what every key comes to there.
class Sweep final : public Question {
 public:
  const char* name() const override { return "sweep"; }
  const char* summary() const override {
    return "what each key settles to over fan speed, duty, P-state or load";
  }
  const char* example() const override { return "sweep duty --out load-line"; }
  void add_options(CLI::App& app) override;
  Plan plan() const override;
  void complete(Plan& plan, const Inquiry& machine) const override;
  std::vector<Phase> further(const Run& run) const override;
  Answer analyse(const Run& run) const override;
  std::vector<std::string> lacks(const Offer& offer) const override;

 private:
  std::string over_;
  std::string at_;
  double duty_ = 1;
  double error_ = 0.01;
  std::string at_most_ = "10m";
  bool in_order_ = false;
  std::optional<int> seed_;
};

}  // namespace lab
