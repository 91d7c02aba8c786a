#pragma once

#include <iosfwd>
#include <string>

/// A failure of the platform: what failed, and the platform's return code.
class IOException {
 public:
  /// `context`: the failed platform call's name with "()" behind it, or a whole message; `code`:
  /// what the call returned, 0 if there was no call.
  IOException(const std::string& context, const int& code);

  /// The context, and unless the code is 0, ": error " and the code's name or hexadecimal digits.
  std::string description() const;

  /// The platform's return code; 0 if there was no call.
  int code() const { return code_; }

 private:
  std::string context_;
  int code_;
};

/// Writes the description and nothing else.
std::ostream& operator<<(std::ostream& stream, const IOException& exception);
