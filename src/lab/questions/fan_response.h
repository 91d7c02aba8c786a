#pragma once

#include <string>
#include <vector>

#include "lab/questions/question.h"

namespace lab {

/// Each fan down and up, to standstill and back: how it follows what it is asked for. One fan after
/// the other, so that the others cool meanwhile.
class FanResponse final : public Question {
 public:
  const char* name() const override { return "fans"; }
  const char* summary() const override {
    return "step response, least steady speed and stop of each fan";
  }
  const char* example() const override { return "fans --fan F0Tg --out fan-0"; }
  void add_options(CLI::App& app) override;
  Plan plan() const override;
  void complete(Plan& plan, const Inquiry& machine) const override;
  Answer analyse(const Run& run) const override;
  std::vector<std::string> lacks(const Offer& offer) const override;

 private:
  std::vector<std::string> fans_;
  std::string hold_ = "8s";
  bool never_stop_ = false;
};

}  // namespace lab
