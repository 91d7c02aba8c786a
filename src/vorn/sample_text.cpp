#include "vorn/sample_text.h"

#include "vorn/numbers.h"

void format_sample(std::string& line, double elapsed, const std::list<float>& values) {
  line.clear();
  append_number(line, elapsed);
  for (const float value : values) {
    line += '\t';
    append_number(line, static_cast<double>(value));
  }
  line += '\n';
}
