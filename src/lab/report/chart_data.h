#pragma once

#include <string>
#include <vector>

#include "lab/report/figure.h"

namespace lab {

/// The figures as JSON for the script of the report, safe inside of a script element:
/// {"arrays": [base64 ...], "figures": [{"timed", "xLog", "xNames", "yLog", "unit", "phases",
/// "series":
/// [{"style", "x", "y", "low", "high"}]}]}, where x (64 bits) and y, low and high (32 bits) are
/// indices into the arrays, and low and high may be missing. Equal arrays stand once. How a series
/// looks, its place in the legend says.
std::string chart_data(const std::vector<Figure>& figures);

}  // namespace lab
