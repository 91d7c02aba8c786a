#pragma once

#include "lab/questions/step.h"

namespace lab {

/// A step that somebody else measured.
class Fit final : public Question {
 public:
  const char* name() const override { return "fit"; }
  const char* summary() const override { return Step().summary(); }
  const char* example() const override { return "fit measured.csv --power watts"; }
  bool has_command() const override { return false; }
  Plan plan() const override { return {}; }
  Answer analyse(const Run& run) const override {
    Answer answer = Step().analyse(run);
    answer.sentences.insert(answer.sentences.end(), run.info.notes.begin(), run.info.notes.end());
    return answer;
  }
  std::vector<std::string> lacks(const Offer& /*offer*/) const override { return {}; }
};

}  // namespace lab
