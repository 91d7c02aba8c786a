#include "support/machine/machine_file.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

std::vector<MachineEntry> parse_machine(const std::string& text) {
  auto entries = linux_machine::read_machine_text(text);
  if (!entries) {
    throw std::runtime_error(entries.failure().message);
  }
  return *std::move(entries);
}

std::string read_machine(const std::string& name) {
  const std::string path = VORN_MACHINES "/" + name + ".machine";
  std::ifstream in(path);
  if (!in) {
    throw std::runtime_error("no " + path);
  }
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> all_machines() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(VORN_MACHINES)) {
    if (entry.path().extension() == ".machine") {
      names.push_back(entry.path().stem());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

void build_machine(const std::string& text, const std::string& folder) {
  for (const MachineEntry& entry : parse_machine(text)) {
    const fs::path path = fs::path(folder) / entry.path;
    fs::create_directories(path.parent_path());
    if (entry.link) {
      fs::create_directory_symlink(entry.text, path);
      continue;
    }
    std::ofstream(path) << entry.text << (entry.text.empty() ? "" : "\n");
    fs::permissions(path, static_cast<fs::perms>(entry.mode));
  }
}
