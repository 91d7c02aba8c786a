#pragma once

#include <ostream>

#include "lab/data/answer.h"
#include "lab/folder/run.h"
#include "lab/report/report_assets.h"

namespace lab {

/// Writes the report of a run: one HTML file that asks for nothing from elsewhere. The same run and
/// answer always give the same bytes. Whether they arrived, the stream says.
void write_report(std::ostream& out, const Run& run, const Answer& answer,
                  const ReportAssets& assets);

}  // namespace lab
