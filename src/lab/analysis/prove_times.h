#pragma once

#include <string>

#include "lab/analysis/prove.h"

namespace lab {

/// A time in words; one that was never seen is longer than `at_least_us`.
std::string microseconds(double time_us, double at_least_us);

/// Half a period of the square wave.
double half_period_us(const Proof& proof);

/// What 99 of 100 edges keep within, of those on and those off.
double edges_us(const WaveformTruth& square);

}  // namespace lab
