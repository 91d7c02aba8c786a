#pragma once

#include <string>
#include <vector>

#include "lab/data/answer.h"
#include "lab/folder/run.h"
#include "lab/report/figure.h"

namespace lab {

/// The sections of the report, as HTML. All that comes from elsewhere is escaped in them.

/// Title, machine, and what is alarming about the run.
std::string heading_part(const Run& run, const Answer& answer);
/// The answer in words, and its tables. Nothing if it has neither: a run without a question.
std::string answer_part(const Answer& answer);
/// A chart for each figure; `problem` says why they cannot be zoomed, or is empty.
std::string charts_part(const std::vector<Figure>& figures, const std::string& problem);
std::string measured_part(const Run& run);
std::string warnings_part(const Run& run, const Answer& answer);
/// What is needed to do it again.
std::string repeat_part(const Run& run);

/// What the section of warnings holds.
std::vector<std::string> all_warnings(const Run& run, const Answer& answer);

}  // namespace lab
