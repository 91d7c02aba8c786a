#include "lab/folder/csv_times.h"

#include "lab/folder/csv_cells.h"

namespace lab {

std::optional<double> CsvTimes::next(std::string_view cell, char separator, double unit_s) {
  if (const std::optional<double> plain = number_in_cell(cell, separator)) {
    return *plain * unit_s;
  }
  if (const std::optional<double> instant = instant_in_cell(cell)) {
    return instant;
  }
  const std::optional<double> clock = clock_in_cell(cell);
  if (!clock) {
    return std::nullopt;
  }
  constexpr double kDay = 24.0 * 3600;
  if (*clock < clock_s_ - kDay / 2 && clock_s_ < kDay) {  // a stopwatch may be beyond a day
    days_s_ += kDay;
  }
  clock_s_ = *clock;
  return days_s_ + *clock;
}

bool CsvTimes::is_time(std::string_view cell, char separator) {
  return number_in_cell(cell, separator) || instant_in_cell(cell) || clock_in_cell(cell);
}

}  // namespace lab
