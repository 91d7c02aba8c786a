#pragma once

#include <string>
#include <vector>

#include "lab/analysis/prove.h"
#include "lab/data/answer.h"

namespace lab {

/// The verdict in one line.
std::string prove_verdict(const Proof& proof);

/// The verdict in sentences, then whose word it is.
std::vector<std::string> prove_sentences(const Proof& proof);

/// The evidence, and what can be measured here.
std::vector<ResultTable> prove_tables(const Proof& proof);

/// What limits the answer: cause and remedy.
std::vector<std::string> prove_warnings(const Proof& proof);

}  // namespace lab
