#include <algorithm>

#include "lab/questions/bode.h"
#include "lab/questions/fan_response.h"
#include "lab/questions/fit.h"
#include "lab/questions/just_run.h"
#include "lab/questions/prove.h"
#include "lab/questions/question.h"
#include "lab/questions/step.h"
#include "lab/questions/sweep.h"
#include "lab/questions/watch.h"

namespace lab {

std::vector<std::unique_ptr<Question>> all_questions() {
  std::vector<std::unique_ptr<Question>> questions;
  questions.push_back(std::make_unique<JustRun>());
  questions.push_back(std::make_unique<Step>());
  questions.push_back(std::make_unique<Bode>());
  questions.push_back(std::make_unique<Sweep>());
  questions.push_back(std::make_unique<FanResponse>());
  questions.push_back(std::make_unique<Prove>());
  questions.push_back(std::make_unique<Watch>());
  questions.push_back(std::make_unique<Fit>());
  return questions;
}

const Question* find_question(const std::vector<std::unique_ptr<Question>>& questions,
                              const std::string& name) {
  const auto found = std::find_if(questions.begin(), questions.end(),
                                  [&](const auto& question) { return question->name() == name; });
  return found == questions.end() ? nullptr : found->get();
}

}  // namespace lab
