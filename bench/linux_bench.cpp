#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <list>
#include <stdexcept>
#include <string>
#include <vector>

#include "Kx/driver.h"
#include "SMC/SMC.h"
#include "machines/linux/drivers/composition.h"
#include "support/machine/machine_file.h"

// What a sample of ten sensors costs on a machine's files, beside ten bare reads of the same files:
// both in turn in one run, and the ratio of their medians.

std::vector<kx::Node> kx::compose_machine() {
  return {};
}

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

/// A machine of files, in a folder of its own.
class MachineOfFiles {
 public:
  MachineOfFiles() { kx::install_machine(linux_machine::compose(machine_)); }
  ~MachineOfFiles() {
    kx::install_machine({});
    fs::remove_all(folder_);
  }
  MachineOfFiles(const MachineOfFiles&) = delete;
  MachineOfFiles& operator=(const MachineOfFiles&) = delete;

  /// The file behind a sensor key with one source.
  std::string file(const std::string& key) const {
    for (const linux_machine::Key& one : machine_.keys()) {
      if (one.name() == key) {
        return folder_ + "/" + one.source.substr(one.source.rfind(' ') + 1);
      }
    }
    throw std::runtime_error("no key " + key);
  }

 private:
  static std::string build() {
    std::string folder = fs::temp_directory_path() / "vorn-bench-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
      throw std::runtime_error("no folder for the machine");
    }
    build_machine(read_machine("two_socket_intel"), folder);
    return folder;
  }

  const std::string folder_ = build();
  sysfs::Folder sys_{folder_};
  linux_machine::Surroundings surroundings_{
      .sys = sys_,
      .proc = sys_,
      .curves_folder = folder_ + "/curves",
      .state_folder = folder_ + "/state",
      .guarded = false,
      .now_ns = [] { return Clock::now().time_since_epoch().count(); },
      .sleep_for = [](std::int64_t) {},
      .effective_user = geteuid,
      .report = [](const std::string&) {}};
  linux_machine::Machine machine_{surroundings_};
};

const std::list<std::string> kKeys = {"TC0D", "TC1D", "F0Ac", "F1Ac", "F2Ac",
                                      "TC0D", "TC1D", "F0Ac", "F1Ac", "F2Ac"};

class BareFiles {
 public:
  explicit BareFiles(const MachineOfFiles& machine) {
    for (const std::string& key : kKeys) {
      files_.push_back(open(machine.file(key).c_str(), O_RDONLY | O_CLOEXEC));
      if (files_.back() < 0) {
        throw std::runtime_error("cannot open " + machine.file(key));
      }
    }
  }
  ~BareFiles() {
    for (const int file : files_) {
      close(file);
    }
  }
  BareFiles(const BareFiles&) = delete;
  BareFiles& operator=(const BareFiles&) = delete;

  void read_all() const {
    std::array<char, 64> text;
    for (const int file : files_) {
      benchmark::DoNotOptimize(pread(file, text.data(), text.size(), 0));
      benchmark::DoNotOptimize(text);
    }
  }

 private:
  std::vector<int> files_;
};

double median(std::vector<double>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void ten_keys_beside_ten_bare_reads(benchmark::State& state) {
  const MachineOfFiles machine;
  SMC smc(kKeys);
  const BareFiles files(machine);
  std::list<float> values;
  std::vector<double> sampled_ns;
  std::vector<double> bare_ns;
  for ([[maybe_unused]] auto once : state) {
    const auto start = Clock::now();
    smc.sample(values);
    const auto between = Clock::now();
    files.read_all();
    const auto end = Clock::now();
    sampled_ns.push_back(std::chrono::duration<double, std::nano>(between - start).count());
    bare_ns.push_back(std::chrono::duration<double, std::nano>(end - between).count());
  }
  state.counters["sample_ns"] = median(sampled_ns);
  state.counters["bare_ns"] = median(bare_ns);
  state.counters["ratio"] = median(sampled_ns) / median(bare_ns);
}

}  // namespace

BENCHMARK(ten_keys_beside_ten_bare_reads);

BENCHMARK_MAIN();
