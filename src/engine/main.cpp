#include "Process/capabilities.h"
#include "Process/standard_descriptors.h"
#include "engine/program.h"
#include "engine/workload_host.h"

int main(int argc, char* argv[]) {
  process::hold_standard_descriptors();
  process::lower_capabilities();
  return engine::run_program(argc, argv, *new engine::WorkloadHost);
}
