#include "lab/questions/number_range.h"

#include <charconv>
#include <sstream>
#include <string>

namespace lab {

CLI::Validator number_from(double least, double most) {
  const auto refusal = [least, most](const std::string& text) -> std::string {
    double value = 0;
    const char* const begin = text.data() + (text.starts_with('+') ? 1 : 0);
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(begin, end, value);
    if (read.ec == std::errc() && read.ptr == end && value >= least && value <= most) {
      return "";
    }
    std::ostringstream why;
    why << "takes a number from " << least << " to " << most << ", and not \"" << text << '"';
    return why.str();
  };
  return {refusal, ""};
}

}  // namespace lab
