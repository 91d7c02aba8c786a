#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "lab/data/table.h"
#include "lab/folder/csv_error.h"

namespace lab {

/// Which column is meant: by its name (see column_index()), or by its number, counted from 1.
struct CsvLayout {
  std::string time = "1";
  std::optional<double> time_unit_s = 1;  ///< nothing: as the table says, else 1
};

/// What was found in a file.
struct CsvTable {
  Table table;
  std::optional<std::string> time_unit;  ///< as the table says, if it was asked
  std::size_t left_out = 0;              ///< lines that time went back in, or stood still
};

/// The text of a table's file. Throws CsvError.
std::string read_csv(const std::string& path);

/// Anybody's table: columns with commas, semicolons or tabs between (or blanks, if there is none of
/// those), a head with names or none, decimals with a point (or a comma, where that does not
/// separate), lines that are empty or begin with # left out, cells that are no number not measured.
/// Names come out in UTF-8. A column's unit is what the head, or a line of units below it, has for
/// it in brackets (stated_unit.h). Times are numbers, instants such as 2026-11-21T15:00:00.5, or
/// hours, minutes and seconds such as 15:00:00.5 (csv_times.h), and come out as seconds since the
/// first one.
/// Every column of the file is one of the table, the time too; those without a name are called
/// "column 2" and so on, and a name that an earlier column has gets " (column 3)" behind it. Lines
/// whose time is not later than that of the line before are left out. Throws CsvError.
CsvTable parse_csv(std::string_view text, const std::string& name, const CsvLayout& layout);

/// The index of the column that `wanted` names: by its name, its number, its name before the unit
/// or a beginning that no other has. `name` stands for the file in messages. Throws CsvError.
std::size_t column_index(const Table& table, const std::string& wanted, const std::string& name);

}  // namespace lab
