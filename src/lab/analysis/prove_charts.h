#pragma once

#include <vector>

#include "lab/analysis/prove.h"
#include "lab/data/answer.h"

namespace lab {

/// How late edges are beside the floor, and how powers follow a step of the load.
std::vector<Chart> prove_charts(const Proof& proof);

}  // namespace lab
