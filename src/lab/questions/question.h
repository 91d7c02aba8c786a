#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "lab/data/answer.h"
#include "lab/engine_process/machine_keys.h"
#include "lab/folder/run.h"
#include "lab/plan/plan.h"

namespace CLI {
class App;
}

namespace lab {

/// What a machine has to offer to a question.
struct Offer {
  bool temperatures = false;
  bool power = false;
  bool fans = false;  ///< that can be forced, with the rights of now
  bool pstates = false;
};

/// Asks the machine. Both throw EngineError.
struct Inquiry {
  std::function<std::vector<MachineKey>()> keys;
  std::function<std::size_t()> pstates;  ///< how many it has; 0: none, or it does not say
};

/// Something that can be asked of a machine: how to find out, and what to make of what was found.
/// A new one is a file of this folder, an analysis and a line in all_questions().
class Question {
 public:
  Question() = default;
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;
  virtual ~Question() = default;

  virtual const char* name() const = 0;     ///< of the command
  virtual const char* summary() const = 0;  ///< what it answers, in a line
  virtual const char* example() const = 0;  ///< a command line, without the program's name

  /// Whether a command plans and runs it; others are asked of what there is.
  virtual bool has_command() const { return true; }

  /// Whether the kernel's trace of its scheduler is to be taken beside a run, where it can be.
  virtual bool looks_at_scheduler() const { return false; }

  /// Load, carrier and rate of the plan, as the help names them. Those of every plan, unless the
  /// question needs others.
  virtual Plan defaults() const { return {}; }

  /// Adds the options that this question alone has.
  virtual void add_options(CLI::App& /*app*/) {}

  /// The plan that finds out, as the options have it. Throws PlanError for options that contradict
  /// each other.
  virtual Plan plan() const = 0;

  /// Fills in what a plan leaves open and the machine tells, which is asked only if need be. Throws
  /// PlanError if it does not tell.
  virtual void complete(Plan& /*plan*/, const Inquiry& /*machine*/) const {}

  /// The phases that are to follow those of a run, as far as what was measured so far asks for
  /// more; none if it is enough. Pure.
  virtual std::vector<Phase> further(const Run& /*run*/) const { return {}; }

  /// What a run of such a plan says. Pure.
  virtual Answer analyse(const Run& run) const = 0;

  /// What this question lacks, in words, each with its consequence.
  virtual std::vector<std::string> lacks(const Offer& offer) const = 0;
};

/// Every question, in the order of the help.
std::vector<std::unique_ptr<Question>> all_questions();

/// The question of that name among them; null if there is none.
const Question* find_question(const std::vector<std::unique_ptr<Question>>& questions,
                              const std::string& name);

}  // namespace lab
