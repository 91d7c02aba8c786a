#include "engine/sample_header.h"

#include "Inspection/unit.h"

namespace engine {

namespace {

std::string source_of(const std::string& key, const std::vector<inspection::Key>& known) {
  for (const inspection::Key& candidate : known) {
    if (candidate.name == key) {
      return candidate.source;
    }
  }
  return "unknown";
}

}  // namespace

std::vector<std::string> sample_header(const std::list<std::string>& keys,
                                       const std::vector<inspection::Key>& known) {
  std::vector<std::string> lines = {"# time\ts\tsince the first sample\n"};
  std::string columns = "#time";
  for (const std::string& key : keys) {
    lines.push_back("# " + key + '\t' + inspection::unit_of(key) + '\t' + source_of(key, known) +
                    '\n');
    columns += '\t' + key;
  }
  lines.push_back(columns + '\n');
  return lines;
}

}  // namespace engine
