#include "engine/complaint.h"

#include <cerrno>
#include <iostream>
#include <string>

namespace engine {

void complain(std::string_view text) {
  std::string line(program_invocation_short_name);
  line += ": ";
  line += text;
  line += '\n';
  std::cerr << line;
}

const char* program_path() {
  return program_invocation_name;
}

}  // namespace engine
