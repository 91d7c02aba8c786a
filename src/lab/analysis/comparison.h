#pragma once

#include <string>
#include <vector>

#include "lab/analysis/compared_values.h"
#include "lab/data/answer.h"

namespace lab {

/// A run as a comparison sees it.
struct ComparedRun {
  /// Something that should be the same in runs that are compared, such as "fans": "maximum".
  struct Condition {
    std::string name;
    std::string value;
  };
  std::string name;
  Answer answer;
  std::vector<Condition> conditions;
};

/// What a comparison comes to.
enum class Verdict {
  same,       ///< no difference that is beyond chance and large enough to matter
  better,     ///< of what has a better way, something went it, and nothing the other one
  worse,      ///< the other way round
  different,  ///< some went the one way and some the other, or only other values differ
  unknown,    ///< there is nothing that could be compared
};

/// The word of `verdict` in result.json.
const char* text(Verdict verdict);

/// How runs are compared.
struct ComparisonRules {
  /// Percent (of temperatures kelvin, of phases degrees): a difference that is not beyond this does
  /// not count, since two runs of one machine differ by as much, for reasons that no interval
  /// knows.
  double least = 1;
  std::vector<std::string> keys;  ///< only these; empty: all
};

// NOLINTNEXTLINE(bugprone-exception-escape): json that is null allocates nothing
struct Comparison {
  Answer answer;
  Verdict verdict = Verdict::unknown;
};

/// Compares each run with the first one.
///
/// A difference counts if it is beyond `least` by more than chance explains: difference.h says how.
/// Runs need not have the same points: those at the same setting are compared.
///
/// `figures`:
///   verdict             of all runs: "worse" if one is, else "different", else "better", else
///                       "same"; "unknown" if one cannot be compared
///   least               percent, K, or degrees
///   runs[]              one for each run behind the first: name, verdict, and differences[] of
///                       name (a path of result.json), first, other, difference (Estimates, in
///                       percent of the first, of temperatures in K, of phases in degrees),
///                       probability (of such a difference by chance, corrected; null: a
///                       condition), counts (bool)
///
/// Charts of the same title are laid over each other. Requires: two runs or more.
Comparison compare(const std::vector<ComparedRun>& runs, const ComparisonRules& rules);

}  // namespace lab
