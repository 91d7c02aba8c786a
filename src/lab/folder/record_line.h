#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

/// A line of the engine's record: a keyword and its fields. Views into the line.
class RecordLine {
 public:
  /// `line` is without its newline.
  explicit RecordLine(std::string_view line);

  std::string_view keyword() const { return keyword_; }

  /// Field `index` from 0, as it stands; empty if there is none.
  std::string_view field(std::size_t index) const;

  /// Field `index` with its escapes resolved.
  std::string text(std::size_t index) const;

  /// Field `index` as a number; nothing if it is not one.
  std::optional<std::int64_t> whole(std::size_t index) const;

 private:
  std::string_view keyword_;
  std::vector<std::string_view> fields_;
};

}  // namespace lab
