#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "lab/data/table.h"

namespace lab {

/// What a column of anybody's table may measure.
enum class Measure {
  none,         ///< the text is no unit
  time,         ///< us, ms, s, min, h
  power,        ///< uW, mW, W, kW
  temperature,  ///< C, mC, K, F
  other,        ///< a unit of something else, or one that is not known here
};

/// A unit under the name that the options of `fit` have for it: "degC" is "C".
struct NamedUnit {
  Measure measure = Measure::none;
  std::string name;
};

/// Knows units as loggers and spreadsheets write them.
NamedUnit named_unit(std::string_view text);

/// What stands in brackets at the end of a column's name, if that is a unit: "ms" of "Time (ms)"
/// and of "Time [ms]". Whatever stands in square ones is taken for a unit, but for a number.
std::string bracketed_unit(std::string_view name);

/// Whether a cell below the head is a unit, as "(ms)", "[W]" or "K".
bool is_unit_cell(std::string_view cell);

/// A column's name without its unit: "Power" of "Power (W)", "Power_W" and "Power / W".
std::string_view name_before_unit(std::string_view name);

/// The unit in which the table gives a column that is to be a `wanted`: that of its brackets or of
/// a line of units (Column::unit), or one at the end of its name behind "_", " " or "/". Nothing:
/// it does not say. Throws CsvError if it says one of something else; `option` is the remedy.
std::optional<std::string> stated_unit(const Column& column, Measure wanted,
                                       const std::string& option);

}  // namespace lab
