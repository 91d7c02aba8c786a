#pragma once

#include <stdexcept>

namespace lab {

/// A table of numbers that cannot be read. The text names file and line.
class CsvError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace lab
