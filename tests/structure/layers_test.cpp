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
    {"live", {"data"}},
    {"report", {"data", "plan", "folder", "analysis"}},
    {"questions", {"data", "plan", "folder", "analysis"}},
    {"commands",
     {"data", "plan", "folder", "analysis", "engine_process", "live", "report", "questions"}},
};

/// Within the Linux machine, by folder: the same rule once more.
const std::map<std::string, Modules> kLinuxMayInclude = {
    {"sysfs", {}},
    {"hwmon", {"sysfs"}},
    {"giving_back", {"sysfs"}},
    {"sensors", {"sysfs", "hwmon"}},
    {"watch", {"sysfs", "hwmon", "giving_back"}},
    {"guardian", {"sysfs", "hwmon", "giving_back", "watch"}},
    {"fans", {"sysfs", "hwmon", "giving_back", "watch", "guardian"}},
    {"cpufreq", {"sysfs", "giving_back", "guardian"}},
    {"checkup", {"sysfs", "giving_back", "guardian", "sensors", "fans", "cpufreq"}},
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

/// Judges each folder of `place`, a path below the sources, by what it may include. Returns how
/// many files were looked at.
int judge_parts(const std::string& place, const std::map<std::string, Modules>& may_include) {
  const std::regex kInclude("^#include \"" + place + "/([a-z_]+)/");
  int files = 0;
  for (const auto& [part, allowed] : may_include) {
    const fs::path folder = fs::path(VORN_SOURCES) / place / part;
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (is_test(entry.path())) {
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

TEST(Layers, NoPartOfTheLinuxMachineIncludesOneAboveIt) {
  EXPECT_GT(judge_parts("machines/linux", kLinuxMayInclude), 50);
}

TEST(Layers, NoPartOfTheLabIncludesOneAboveIt) {
  EXPECT_GT(judge_parts("lab", kLabMayInclude), 10);
}

}  // namespace
