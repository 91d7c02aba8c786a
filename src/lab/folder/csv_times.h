#pragma once

#include <optional>
#include <string_view>

namespace lab {

/// The times of a table's lines, one after the other.
class CsvTimes {
 public:
  /// The time in a cell, in s: a number of `unit_s`, an instant, or a time of the clock. One of the
  /// clock that is more than half a day before the last is one of the next day. Nothing: it is no
  /// time.
  std::optional<double> next(std::string_view cell, char separator, double unit_s);

  /// Whether a cell holds a time.
  static bool is_time(std::string_view cell, char separator);

 private:
  double clock_s_ = 0;  // the last
  double days_s_ = 0;   // of the midnights that were passed
};

}  // namespace lab
