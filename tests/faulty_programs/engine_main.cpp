#include "Process/standard_descriptors.h"
#include "engine/loads/load_report.h"
#include "engine/program.h"
#include "engine/workload_host.h"

// The engine, on a machine on which each load computes with a wrong bit once.

namespace {

class FaultyHost : public engine::WorkloadHost {
 public:
  void ready(const std::shared_ptr<LoadReport>& report) override {
    WorkloadHost::ready(report);
    report->request_fault();
  }
};

}  // namespace

int main(int argc, char* argv[]) {
  process::hold_standard_descriptors();
  return engine::run_program(argc, argv, *new FaultyHost);
}
