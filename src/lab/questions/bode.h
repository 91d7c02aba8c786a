#pragma once

#include <string>

#include "lab/questions/bode_plan.h"
#include "lab/questions/question.h"

namespace lab {

/// A sweep of swings: how far and how late each key follows the power, over frequency.
class Bode final : public Question {
 public:
  const char* name() const override { return "bode"; }
  const char* summary() const override {
    return "amplitude and phase of each key against power, over frequency";
  }
  const char* example() const override {
    return "bode --from 0.01 --to 2 --points 9 --fast --out response";
  }
  void add_options(CLI::App& app) override;
  Plan plan() const override;
  Answer analyse(const Run& run) const override;
  std::vector<std::string> lacks(const Offer& offer) const override;

 private:
  BodeWishes wishes_;
  std::string idle_ = "5s";
  std::string settle_ = "until settled";
  std::string least_ = "30s";
  std::string at_most_ = "10m";
  std::string beside_;
};

}  // namespace lab
