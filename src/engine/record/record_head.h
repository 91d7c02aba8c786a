#pragma once

#include <string>

struct RecordPlan;

/// Appends the lines that a record begins with: what was asked for, and of which machine.
void append_head(std::string& text, const RecordPlan& plan);

/// Appends a line with both clocks as they stand.
void append_clocks(std::string& text);
