#pragma once

#include <string>

struct ClockReading;
struct RecordPlan;

/// Appends the lines that a record begins with: what was asked for, of which machine, and the
/// clocks when the record was `made`.
void append_head(std::string& text, const RecordPlan& plan, const ClockReading& made);

/// Appends a line with both clocks.
void append_clocks(std::string& text, const ClockReading& reading);
