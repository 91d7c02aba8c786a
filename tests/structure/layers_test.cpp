#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>

// A module includes only what stands below it.

namespace {

namespace fs = std::filesystem;

using Modules = std::set<std::string>;

const std::map<std::string, Modules> kMayInclude = {
    {"Process", {}},
    {"Assertion", {"Process"}},
    {"Host", {}},
    {"Kx", {"Assertion"}},
    {"SMC", {"Assertion", "Kx"}},
    {"PlatformPlugin", {"Assertion", "Kx", "SMC"}},
    {"Workload", {"Assertion", "Host"}},
    {"SpinLoop", {"Assertion", "Workload"}},
    {"BlockingSpinLoop", {"Assertion", "Workload", "SpinLoop"}},
    {"WorkloadRegistry", {"Workload", "SpinLoop", "BlockingSpinLoop"}},
    {"vorn",
     {"Process", "Assertion", "Host", "Kx", "SMC", "PlatformPlugin", "Workload",
      "WorkloadRegistry"}},
    // Machines stand beside the driver: neither knows of the other. A simulated one asks how much
    // power a thread's work draws.
    {"machines",
     {"Process", "Assertion", "Host", "Kx", "SMC", "PlatformPlugin", "Workload", "Inspection"}},
    {"Inspection", {}},
    {"keys", {"Process", "Kx", "SMC", "Inspection", "vorn"}},
    // Above the driver: the driver knows nothing of it.
    {"engine",
     {"Process", "Assertion", "Host", "Kx", "SMC", "PlatformPlugin", "Workload", "SpinLoop",
      "BlockingSpinLoop", "WorkloadRegistry", "vorn", "Inspection"}},
    // Beside all others, which hold rights: it starts them as programs.
    {"lab", {"Process"}},
};

/// Within the lab, by folder: the same rule once more.
const std::map<std::string, Modules> kLabMayInclude = {
    {"data", {}},
    {"plan", {"data"}},
    {"folder", {"data", "plan"}},
    {"analysis", {"data"}},
    {"engine_process", {"data", "plan", "folder"}},
    {"kernel_trace", {"data"}},
    {"live", {"data"}},
    {"report", {"data", "plan", "folder", "analysis"}},
    {"questions", {"data", "plan", "folder", "analysis", "engine_process"}},
    {"commands",
     {"data", "plan", "folder", "analysis", "engine_process", "kernel_trace", "live", "report",
      "questions"}},
};

/// Among the machines: none knows of another, and what they share knows of none.
const std::map<std::string, Modules> kMachinesMayInclude = {
    {"linux_kernel", {}},
    {"controller", {}},
    {"power_plugin", {}},
    {"linux", {"linux_kernel", "controller", "power_plugin"}},
    {"simulated", {"linux_kernel", "controller", "power_plugin"}},
};

/// Within the Linux machine, by folder. What lies in none, and makes a program's machine of all of
/// it, is above them.
const std::map<std::string, Modules> kLinuxMayInclude = {
    {"sysfs", {}},
    {"record", {"sysfs"}},
    {"surroundings", {"sysfs"}},
    {"hwmon", {"sysfs"}},
    {"giving_back", {"sysfs", "surroundings"}},
    {"sensors", {"sysfs", "surroundings", "hwmon"}},
    {"watch", {"sysfs", "surroundings", "hwmon", "giving_back"}},
    {"guardian", {"sysfs", "surroundings", "hwmon", "giving_back", "watch"}},
    {"fans", {"sysfs", "surroundings", "hwmon", "giving_back", "watch", "guardian"}},
    {"cpufreq", {"sysfs", "surroundings", "giving_back", "guardian"}},
    {"drivers",
     {"sysfs", "record", "surroundings", "hwmon", "guardian", "sensors", "fans", "cpufreq"}},
    {"checkup",
     {"sysfs", "surroundings", "giving_back", "watch", "guardian", "sensors", "fans", "cpufreq",
      "drivers"}},
};

bool is_test(const fs::path& file) {
  return file.stem().string().ends_with("_test") || file.stem().string().starts_with("fake_");
}

/// The modules that `file` includes from, by the first folder of each quoted include.
Modules included_by(const fs::path& file) {
  static const std::regex kInclude("^#include \"([A-Za-z]+)/");
  Modules modules;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    if (std::smatch match; std::regex_search(line, match, kInclude)) {
      modules.insert(match[1]);
    }
  }
  return modules;
}

TEST(Layers, EveryModuleHasItsPlace) {
  for (const auto& entry : fs::directory_iterator(VORN_SOURCES)) {
    if (entry.is_directory()) {
      EXPECT_TRUE(kMayInclude.contains(entry.path().filename())) << entry.path();
    }
  }
}

TEST(Layers, NoModuleIncludesOneAboveIt) {
  int files = 0;
  for (const auto& [module, allowed] : kMayInclude) {
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(VORN_SOURCES) / module)) {
      const fs::path& file = entry.path();
      if ((file.extension() != ".h" && file.extension() != ".cpp") || is_test(file)) {
        continue;
      }
      ++files;
      for (const std::string& included : included_by(file)) {
        EXPECT_TRUE(included == module || allowed.contains(included))
            << file << " includes from " << included;
      }
    }
  }
  EXPECT_GT(files, 50) << "the walk found nothing to judge";
}

TEST(Layers, OnlyTheLoadsOfTheEngineIncludeTheVectorLibrary) {
  int files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(VORN_SOURCES)) {
    std::ifstream in(entry.path());
    for (std::string line; std::getline(in, line);) {
      if (line.starts_with("#include <hwy/")) {
        ++files;
        EXPECT_EQ(entry.path().parent_path(), fs::path(VORN_SOURCES) / "engine" / "loads")
            << entry.path();
      }
    }
  }
  EXPECT_GT(files, 0) << "the walk found nothing to judge";
}

// Before any other statement could open a file.
TEST(Layers, EveryMainFirstHoldsTheStandardDescriptors) {
  static const std::regex kFirst(
      "\\nint main\\([^)]*\\) \\{\\n  process::hold_standard_descriptors\\(\\);\\n");
  int mains = 0;
  for (const auto& entry : fs::recursive_directory_iterator(VORN_SOURCES)) {
    if (entry.path().filename() == "main.cpp") {
      ++mains;
      std::ifstream in(entry.path());
      const std::string text(std::istreambuf_iterator<char>(in), {});
      EXPECT_TRUE(std::regex_search(text, kFirst)) << entry.path();
    }
  }
  EXPECT_GE(mains, 2) << "the walk found nothing to judge";
}

/// Judges each folder of `place`, a path below the sources, by what it may include of the others:
/// nothing that lies in none of them. Returns how many files were looked at.
int judge_parts(const std::string& place, const std::map<std::string, Modules>& may_include) {
  const std::regex kInclude("^#include \"" + place + "/(?:([a-z_]+)/|[a-z_]+\\.h)");
  int files = 0;
  for (const auto& [part, allowed] : may_include) {
    const fs::path folder = fs::path(VORN_SOURCES) / place / part;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      if (is_test(entry.path()) || entry.is_directory()) {
        continue;
      }
      ++files;
      std::ifstream in(entry.path());
      for (std::string line; std::getline(in, line);) {
        if (std::smatch match; std::regex_search(line, match, kInclude)) {
          EXPECT_TRUE(match[1] == part || allowed.contains(match[1]))
              << entry.path() << ": " << line;
        }
      }
    }
  }
  return files;
}

/// The folders right below `place`.
Modules folders_of(const fs::path& place) {
  Modules folders;
  for (const auto& entry : fs::directory_iterator(place)) {
    if (entry.is_directory()) {
      folders.insert(entry.path().filename());
    }
  }
  return folders;
}

Modules parts_of(const std::map<std::string, Modules>& may_include) {
  Modules parts;
  for (const auto& [part, allowed] : may_include) {
    parts.insert(part);
  }
  return parts;
}

TEST(Layers, EveryPartHasItsPlace) {
  const fs::path sources = VORN_SOURCES;
  EXPECT_EQ(folders_of(sources / "machines"), parts_of(kMachinesMayInclude));
  EXPECT_EQ(folders_of(sources / "machines/linux"), parts_of(kLinuxMayInclude));
  EXPECT_EQ(folders_of(sources / "lab"), parts_of(kLabMayInclude));
}

// Libraries are called as what they hold, in CamelCase; programs, machines and everything inside of
// a folder as words with underscores.
TEST(Layers, NamesOfFoldersFollowOneRule) {
  static const std::regex kWords("[a-z]+(_[a-z]+)*");
  static const std::regex kCamelCase("([A-Z]+[a-z]*)+");
  const Modules kInWords = {"vorn", "keys", "engine", "lab", "machines"};
  for (const auto& entry : fs::recursive_directory_iterator(VORN_SOURCES)) {
    if (entry.is_directory()) {
      const std::string name = entry.path().filename();
      const bool library =
          entry.path().parent_path() == fs::path(VORN_SOURCES) && !kInWords.contains(name);
      EXPECT_TRUE(std::regex_match(name, library ? kCamelCase : kWords)) << entry.path();
    }
  }
}

TEST(Layers, NoMachineIncludesAnother) {
  EXPECT_GT(judge_parts("machines", kMachinesMayInclude), 50);
}

TEST(Layers, NoPartOfTheLinuxMachineIncludesOneAboveIt) {
  EXPECT_GT(judge_parts("machines/linux", kLinuxMayInclude), 50);
}

TEST(Layers, NoPartOfTheLabIncludesOneAboveIt) {
  EXPECT_GT(judge_parts("lab", kLabMayInclude), 10);
}

}  // namespace
