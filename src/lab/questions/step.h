#pragma once

#include <string>

#include "lab/questions/question.h"

namespace lab {

/// Idle, load, idle: how far and how fast each temperature follows the power.
class Step final : public Question {
 public:
  const char* name() const override { return "step"; }
  const char* summary() const override {
    return "thermal resistance and time constants: idle, load, idle";
  }
  const char* example() const override { return "step --load bmix --out first-step"; }
  void add_options(CLI::App& app) override;
  Plan plan() const override;
  Answer analyse(const Run& run) const override;
  std::vector<std::string> lacks(const Offer& offer) const override;

 private:
  double duty_ = 1;
  double base_ = 0;
  std::string idle_ = "10s";
  std::string heat_ = "until settled";
  std::string cool_ = "until settled";
  std::string at_most_ = "10m";
  bool structure_ = false;
};

}  // namespace lab
