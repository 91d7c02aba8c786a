#pragma once

#include <complex>
#include <nlohmann/json.hpp>
#include <vector>

#include "lab/analysis/bode.h"

namespace lab {

/// The response of stages to a sinusoid, K/W: the sum of R / (1 + j w tau).
std::complex<double> stages_response(const std::vector<KnownStage>& stages, double frequency_hz);

/// The stages in the figures of a step's or a fit's answer; none of keys that have none, or that
/// are for full load instead of for each watt.
KnownStages stages_in(const nlohmann::ordered_json& figures);

/// The stages that a step's analysis finds in the record: in its beginning, if it is long, which
/// holds the heating up. `late_s`: how much later the heat comes than a mean since the sample
/// before.
KnownStages own_stages(const BodeInput& input, double late_s);

}  // namespace lab
