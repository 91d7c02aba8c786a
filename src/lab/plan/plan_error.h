#pragma once

#include <stdexcept>

namespace lab {

/// A plan that cannot be carried out as it is written. The text names the file, the line and the
/// column where they are known, what is wrong, and what would be right.
class PlanError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace lab
