#pragma once

#include <string>

namespace lab {

/// What a report takes from other packages: the charts that can be zoomed.
struct ReportAssets {
  std::string script;
  std::string style;
  std::string problem;  ///< why there is none, and what to do; empty: there is
};

/// Reads the installed dygraphs, or that in `folder`. A report can be written without it: its
/// charts then are drawings, and it gives `problem` as the reason.
ReportAssets installed_assets();
ReportAssets assets_in(const std::string& folder);

}  // namespace lab
