#pragma once

#include <string>
#include <vector>

#include "lab/analysis/sweep_laws.h"
#include "lab/data/answer.h"

namespace lab {

/// The laws of a sweep in sentences.
std::vector<std::string> sweep_sentences(const SweepInput& input,
                                         const std::vector<PointResult>& points,
                                         const SweepLaws& laws);

/// The points of a sweep in rows.
std::vector<ResultTable> sweep_tables(const SweepInput& input,
                                      const std::vector<PointResult>& points,
                                      const SweepLaws& laws);

/// Dynamic power of a point as a part of the highest one.
Estimate activity_of(const DynamicPower& dynamic, std::size_t point);

/// What a sweep goes over, as a heading: "Fan speed, RPM".
const char* setting_heading(SweptSetting over);

}  // namespace lab
