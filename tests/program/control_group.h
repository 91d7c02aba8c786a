#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

/// A control group of the version 2 hierarchy that is mounted here, if it is; the freezer's
/// otherwise. Removed with it.
class ControlGroup {
 public:
  enum class Kind { unified, freezer };

  explicit ControlGroup(Kind kind) {
    std::ifstream mounts("/proc/self/mounts");
    const std::string type = kind == Kind::unified ? "cgroup2" : "cgroup";
    std::string device;
    std::string folder;
    std::string is;
    for (std::string line; std::getline(mounts, line);) {
      std::istringstream(line) >> device >> folder >> is;
      if (is == type && (kind == Kind::unified || line.find(",freezer") != std::string::npos)) {
        const std::string own = folder + "/vorn-test-" + std::to_string(getpid());
        if (mkdir(own.c_str(), 0755) == 0) {
          folder_ = own;
        }
      }
    }
  }
  ~ControlGroup() {
    for (int tries = 0; tries < 2000 && !folder_.empty() && rmdir(folder_.c_str()) != 0; ++tries) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  ControlGroup(const ControlGroup&) = delete;
  ControlGroup& operator=(const ControlGroup&) = delete;

  bool is_there() const { return !folder_.empty(); }

  bool tell(const std::string& file, const std::string& text) const {
    std::ofstream out(folder_ + "/" + file);
    out << text << std::flush;
    return out.good();
  }

 private:
  std::string folder_;
};
