#pragma once

#include <vector>

/// Whether the level follows a sinusoid. It wins over a triangle.
bool using_pwm_sinusoid();

/// Whether the level follows a triangle.
bool using_pwm_triangle();

/// The number of intervals of one wave of the power waveform; not rounded where it is beyond
/// counting. Requires: using_timing_thread().
double toggle_count();

/// Appends one wave of the power waveform to `times`: intervals in microseconds after each of
/// which the load is switched, in pairs of on and off. Returns the length of one pair's slot in
/// seconds. Requires: using_timing_thread().
double toggle_times(std::vector<unsigned>& times);
