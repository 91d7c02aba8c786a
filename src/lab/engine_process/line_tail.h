#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "lab/engine_process/child.h"

namespace lab {

/// Follows a file to which somebody adds lines. Thread: one.
class LineTail {
 public:
  /// Of a file that is there. Throws EngineError.
  explicit LineTail(const std::filesystem::path& path);

  /// Hands every whole line that has come since the last call to `use`, without its newline.
  void read(const std::function<void(std::string_view line)>& use);

 private:
  Descriptor file_;
  std::string rest_;  // of a line that is not whole
};

}  // namespace lab
