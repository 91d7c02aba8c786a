#pragma once

#include <string>
#include <vector>

#include "lab/analysis/bode_points.h"
#include "lab/data/answer.h"

namespace lab {

/// A key in a sentence: where it swings most and least, and how the predicted curve compares.
std::vector<std::string> bode_sentences(const BodeInput& input, const BodeResult& result,
                                        const std::string& predicted_from);

/// A table for each key that shows something.
std::vector<ResultTable> bode_tables(const BodeResult& result);

/// Amplitude and phase over logarithmic frequency, with intervals and the predicted curves.
std::vector<Chart> bode_charts(const BodeInput& input, const BodeResult& result,
                               const KnownStages& predicted, const std::string& predicted_from);

/// As analyse_bode() documents them.
nlohmann::ordered_json bode_figures(const BodeInput& input, const BodeResult& result,
                                    const std::string& predicted_from);

}  // namespace lab
