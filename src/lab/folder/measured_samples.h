#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/data/table.h"
#include "lab/folder/csv_table.h"

namespace lab {

/// What the columns of a table are that somebody measured. A column goes by what column_index()
/// takes.
struct MeasuredColumns {
  std::string time = "1";
  std::string power;                      ///< empty: none, see `watts`
  std::string power_unit;                 ///< of power_units(); empty: as the table says, else W
  std::optional<double> watts;            ///< the power, if it was constant from the first line on
  std::vector<std::string> temperatures;  ///< empty: every column that may be one
  std::string temperature_unit;           ///< C, mC, K or F; empty: as the table says, else C
};

/// The samples of a run that would have given the table.
struct MeasuredSamples {
  Table samples;
  std::string power;                  ///< the name of its column
  std::vector<std::string> warnings;  ///< what was left out
  std::vector<std::string> notes;     ///< what was converted
};

/// `file` stands for the table in messages. Throws CsvError if a column is not there, or its unit
/// is not known; PlanError if one is named for two things.
MeasuredSamples measured_samples(CsvTable csv, const std::string& file,
                                 const MeasuredColumns& columns);

}  // namespace lab
