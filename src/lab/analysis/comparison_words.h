#pragma once

#include <string>
#include <vector>

#include "lab/analysis/comparison.h"
#include "lab/analysis/difference.h"
#include "lab/data/answer.h"

namespace lab {

/// A run beside the first one.
struct ComparedPair {
  const ComparedRun* other = nullptr;
  std::vector<Difference> differences;
  std::vector<std::string> warnings;
  Verdict verdict = Verdict::unknown;
};

/// By how much, and which way: "8.4 % higher (95 %: 8.2 to 8.5)".
std::string spoken_difference(const Difference& difference);

/// That there is no difference, and within what.
std::string same_sentence(const std::string& first, const ComparedPair& pair);

/// What differs, by how much, and which way.
std::string changed_sentence(const std::string& first, const ComparedPair& pair);

/// Where two ladders of as many rungs part; empty: they do not.
std::string parting_sentence(const std::string& first, const ComparedPair& pair);

/// Every value of both runs, in a row each.
ResultTable difference_table(const std::string& first, const ComparedPair& pair);

}  // namespace lab
