#pragma once

#include "lab/analysis/step_key.h"
#include "lab/data/answer.h"

namespace lab {

/// The result of a temperature in a sentence: "TC0D rises 0.432 K for each watt (95 %: 0.430 to
/// 0.434), with time constants of 0.50 s and 28.1 s."
std::string step_sentence(const KeyResult& result, bool heat_is_power);

/// The results as tables: the temperatures, and their stages.
std::vector<ResultTable> step_tables(const std::vector<KeyResult>& results);

/// The results as numbers: `keys` of analyse_step's figures.
nlohmann::ordered_json step_figures(const std::vector<KeyResult>& results);

}  // namespace lab
