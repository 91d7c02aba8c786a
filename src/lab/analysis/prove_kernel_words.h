#pragma once

#include <string>
#include <vector>

#include "lab/analysis/prove.h"

namespace lab {

/// Whose word a proof is: the engine's own, and what the kernel's trace says beside it.
std::string whose_word(const Proof& proof);

/// What of the waveform somebody else than the engine has seen, for a table.
std::string who_else_saw_it(const Proof& proof);

/// Adds what the trace says against the record.
void judge_kernel(const KernelView& kernel, std::vector<std::string>& warnings);

}  // namespace lab
