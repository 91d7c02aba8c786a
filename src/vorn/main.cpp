#include <iostream>

#include "Process/capabilities.h"
#include "Process/standard_descriptors.h"
#include "WorkloadRegistry/registry.h"
#include "vorn/command_line.h"
#include "vorn/notes.h"
#include "vorn/privilege.h"
#include "vorn/request_notes.h"
#include "vorn/run.h"
#include "vorn/settings.h"
#include "vorn/summary.h"
#include "vorn/uncaught.h"

namespace {

constexpr int kFailure = -1;  // exit status 255

}  // namespace

int main(int argc, char* argv[]) {
  process::hold_standard_descriptors();
  process::lower_capabilities();
  explain_uncaught_exceptions();
  std::cerr.tie(nullptr);  // a message must not wait for whoever reads the samples
  uid.relinquish();
  load_factories(factories);
  if (parse_options(argc, argv) < 0) {
    usage(argv[0]);
    return kFailure;
  }
  if (noisy) {
    summarize();
  }
  say(notes_on_request(request_of_settings()));
  return run();
}
