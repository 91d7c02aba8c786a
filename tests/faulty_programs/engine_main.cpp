#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "Process/standard_descriptors.h"
#include "engine/loads/load_report.h"
#include "engine/program.h"
#include "engine/workload_host.h"
#include "vorn/settings.h"

// The engine, on a machine on which each load computes with a wrong bit once; or, with
// VORN_SLOW_MS=N in the environment, the first load takes N ms to be made, if the run lasts that
// long.

namespace {

class FaultyHost : public engine::WorkloadHost {
 public:
  void ready(const std::shared_ptr<LoadReport>& report) override {
    WorkloadHost::ready(report);
    if (slow_ms_ == nullptr) {
      report->request_fault();
    }
  }

  void made() override {
    static std::atomic<bool> first{true};
    const int patience_ms = slow_ms_ != nullptr && first.exchange(false) ? std::atoi(slow_ms_) : 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(patience_ms);
    while (std::chrono::steady_clock::now() < end && !params.terminate) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    WorkloadHost::made();
  }

 private:
  const char* slow_ms_ = std::getenv("VORN_SLOW_MS");
};

}  // namespace

int main(int argc, char* argv[]) {
  process::hold_standard_descriptors();
  return engine::run_program(argc, argv, *new FaultyHost);
}
