#pragma once

#include <map>
#include <string>
#include <vector>

#include "lab/report/figure.h"

namespace lab {

/// Gives every name its ink: the keys of a run by their order, the columns of its load always the
/// same ones, names that mention none of them as they come.
class Inks {
 public:
  explicit Inks(const std::vector<std::string>& names);

  /// The inks of one chart's series. Two series in one chart that would look alike, such as the
  /// measured and the fitted curve of a key, differ in their dashes.
  std::vector<Ink> of(const std::vector<Series>& series);

 private:
  /// Of the longest known name that stands as a word in `text`; else a new one.
  Ink by_name(const std::string& text);

  std::map<std::string, Ink> shares_;
  std::map<std::string, Ink> known_;
};

}  // namespace lab
