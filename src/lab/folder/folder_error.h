#pragma once

#include <stdexcept>

namespace lab {

/// A run folder, or a file of it, that cannot be made, written or read. The text names the path,
/// the cause and, where there is one, the remedy.
class FolderError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace lab
