#pragma once

#include <string>

#include "lab/questions/question.h"

namespace lab {

/// Nothing but looking: the sensors of a machine at its own work. With a utilisation that somebody
/// recorded elsewhere, that is played as a load.
class Watch final : public Question {
 public:
  const char* name() const override { return "watch"; }
  const char* summary() const override {
    return "sensors of a machine at its own work, or under somebody's recorded utilisation";
  }
  const char* example() const override { return "watch --for 10m --out office"; }
  void add_options(CLI::App& app) override;
  Plan plan() const override;
  Answer analyse(const Run& run) const override;
  std::vector<std::string> lacks(const Offer& offer) const override;

 private:
  Plan replay() const;

  std::string for_;
  std::string file_;
  std::string time_ = "1";
  std::string time_unit_ = "s";
  std::string utilisation_ = "2";
  std::string unit_ = "automatic";
};

}  // namespace lab
