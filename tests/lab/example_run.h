#pragma once

#include <cstddef>

#include "lab/data/answer.h"
#include "lab/folder/run.h"

namespace lab {

/// A run of idle, load, idle on a machine with two thermal stages, and its answer, calculated: what
/// tests of reports show. Always the same.
Run example_run();
Answer example_answer();

/// A run of so many samples at 10 Hz, of eight columns beside the phase. One sample of the first
/// temperature is a peak of 150 degrees, `peak_row`.
Run long_run(std::size_t samples, std::size_t peak_row);

}  // namespace lab
