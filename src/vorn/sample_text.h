#pragma once

#include <list>
#include <string>

/// Makes `line` a line of the sample file: the time in seconds and each value behind a tab, numbers
/// with six significant digits at most, and a newline. Allocates nothing once `line` has held one
/// as long.
void format_sample(std::string& line, double elapsed, const std::list<float>& values);
