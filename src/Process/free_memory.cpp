#include "Process/free_memory.h"

#include <fstream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

void lower(std::optional<double>& least, double bytes) {
  if (!least || bytes < *least) {
    least = bytes;
  }
}

/// The line "MemAvailable:   1234 kB" of /proc/meminfo.
void look_at_the_machine(const fs::path& root, std::optional<double>& least) {
  constexpr double kKilobyte = 1024.0;
  std::ifstream meminfo(root / "proc/meminfo");
  for (std::string line; std::getline(meminfo, line);) {
    std::istringstream words(line);
    std::string name;
    double kilobytes = 0.0;
    if (words >> name >> kilobytes && name == "MemAvailable:") {
      lower(least, kKilobyte * kilobytes);
    }
  }
}

/// This process's group, "/" for the root of the tree that it sees.
std::optional<std::string> group(const fs::path& root) {
  std::ifstream groups(root / "proc/self/cgroup");
  for (std::string line; std::getline(groups, line);) {
    constexpr const char* kVersion2 = "0::";
    if (line.rfind(kVersion2, 0) == 0) {
      return line.substr(std::string(kVersion2).size());
    }
  }
  return std::nullopt;
}

/// The limits of the group and of all that it stands in; "max" is none.
void look_at_the_groups(const fs::path& root, std::optional<double>& least) {
  const std::optional<std::string> own = group(root);
  if (!own) {
    return;
  }
  for (fs::path at = fs::path(*own).relative_path();; at = at.parent_path()) {
    std::ifstream limit(root / "sys/fs/cgroup" / at / "memory.max");
    if (double bytes = 0.0; limit >> bytes) {
      lower(least, bytes);
    }
    if (at.empty()) {
      return;
    }
  }
}

}  // namespace

std::optional<double> process::free_memory(const fs::path& root) {
  std::optional<double> least;
  look_at_the_machine(root, least);
  look_at_the_groups(root, least);
  return least;
}
