#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "support/program.h"

// The lab as a process, on the simulated machine, with a place for its folders.

namespace lab_program {

namespace fs = std::filesystem;
using program::As;
using program::Command;

/// Not to be const where a member may be missing: that is null then, and undefined if const.
using Json = nlohmann::json;

/// A place where any user may write, which is gone with the test.
class Lab : public testing::Test {
 protected:
  Lab() {
    fs::create_directory(place_);
    chmod(place_.c_str(), 0777);
  }
  ~Lab() override { fs::remove_all(place_); }

  static Command lab(std::vector<std::string> arguments, As as = As::kUserWithFixedPriority) {
    Command command;
    command.path = VORN_LAB_SIM_PROGRAM;
    command.arguments = std::move(arguments);
    command.as = as;
    command.called = "vorn-lab-sim";
    return command;
  }

  std::string folder(const std::string& name = "run") const { return place_ / name; }

  /// A step on one processor that takes some seconds, or longer if it is heated for longer.
  std::vector<std::string> short_step(std::vector<std::string> more = {},
                                      const char* heat = "2") const {
    std::vector<std::string> arguments{"step",   "--out",  folder(), "--threads", "1",
                                       "--load", "bspin",  "--idle", "0.5",       "--heat",
                                       heat,     "--cool", "1.5"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

  static std::string read(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  Json json(const char* file, const std::string& name = "run") const {
    return Json::parse(read(fs::path(folder(name)) / file), nullptr, false);
  }

  /// The lines of samples.csv, without its head.
  int samples() const {
    const std::string text = read(fs::path(folder()) / "samples.csv");
    return static_cast<int>(std::count(text.begin(), text.end(), '\n')) - 1;
  }

  /// Waits until that is so, for a minute at the most. Returns whether it is.
  static bool wait_for(const std::function<bool()>& that) {
    using namespace std::chrono_literals;
    for (int look = 0; look < 600; ++look) {
      if (that()) {
        return true;
      }
      std::this_thread::sleep_for(100ms);
    }
    return false;
  }

  /// Waits until the run has some samples in its folder.
  bool wait_for_samples(int count) const {
    return wait_for([&] { return samples() >= count; });
  }

  const fs::path place_ = fs::temp_directory_path() / ("lab." + std::to_string(getpid()));
};

/// Of tests that judge what the load was given: beside another of its priority, that is half. So
/// the suite is not among those that share the processors (CMakeLists.txt).
using LabAlone = Lab;

}  // namespace lab_program
