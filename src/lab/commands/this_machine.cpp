#include "lab/commands/this_machine.h"

#include <sys/utsname.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <fstream>
#include <thread>

#include "lab/commands/version.h"
#include "lab/engine_process/machine.h"

namespace lab {

namespace {

std::string processor_model() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("model name") || line.starts_with("Model")) {
      const std::size_t colon = line.find(": ");
      return colon == std::string::npos ? "" : line.substr(colon + 2);
    }
  }
  return "";
}

}  // namespace

std::string wall_clock() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::array<char, 40> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S%z", &local);
  std::string stamp(text.data());
  return stamp.insert(stamp.size() - 2, ":");
}

void note_machine(RunInfo& info) {
  utsname host{};
  uname(&host);
  info.host = host.nodename;
  info.system = std::string(host.sysname) + " " + host.release + " " + host.machine;
  info.processor = processor_model();
  info.processors = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  info.simulated = machine().simulated;
  info.lab_version = kProgramVersion;
  info.begun = wall_clock();
}

}  // namespace lab
