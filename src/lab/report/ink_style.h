#pragma once

#include <string>
#include <vector>

#include "lab/report/figure.h"

namespace lab {

/// How an ink looks on white paper. page.css says it, for the report and for picture files alike.
struct InkStyle {
  std::string colour;       ///< "#0072b2"
  std::vector<int> dashes;  ///< lengths of lines and gaps; empty: not dashed
};
InkStyle ink_style(Ink ink);

/// The value that page.css gives first to a custom property, such as "grid".
std::string paper_colour(const std::string& name);

}  // namespace lab
