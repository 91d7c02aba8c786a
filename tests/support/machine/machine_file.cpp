#include "support/machine/machine_file.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

int error_named(const std::string& name) {
  static const std::map<std::string, int> kErrors = {
      {"EACCES", EACCES}, {"EAGAIN", EAGAIN},   {"EBUSY", EBUSY},           {"EINVAL", EINVAL},
      {"EIO", EIO},       {"ENODATA", ENODATA}, {"EOPNOTSUPP", EOPNOTSUPP}, {"ENXIO", ENXIO}};
  return kErrors.at(name);
}

MachineEntry parse_line(const std::string& line) {
  std::istringstream words(line);
  MachineEntry entry;
  std::string kind;
  std::string sign;
  if (!(words >> kind >> entry.path >> sign)) {
    throw std::runtime_error("too few words");
  }
  std::getline(words >> std::ws, entry.text);
  if (kind == "link" && sign == "->") {
    entry.link = true;
    return entry;
  }
  entry.mode = std::stoi(kind, nullptr, 8);
  if (sign == "!") {
    entry.error = error_named(entry.text);
    entry.text.clear();
  } else if (sign != "=") {
    throw std::runtime_error("neither = nor ! nor ->");
  }
  return entry;
}

}  // namespace

std::vector<MachineEntry> parse_machine(const std::string& text) {
  std::vector<MachineEntry> entries;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.front() == '#') {
      continue;
    }
    try {
      entries.push_back(parse_line(line));
    } catch (const std::exception& wrong) {
      throw std::runtime_error("\"" + line + "\": " + wrong.what());
    }
  }
  return entries;
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
