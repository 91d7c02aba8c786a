#include <iostream>

#include "Process/standard_descriptors.h"
#include "WorkloadRegistry/registry.h"
#include "engine/complaint.h"
#include "engine/conflicts.h"
#include "engine/options.h"
#include "engine/session.h"
#include "vorn/command_line.h"
#include "vorn/privilege.h"
#include "vorn/run.h"
#include "vorn/settings.h"
#include "vorn/summary.h"
#include "vorn/uncaught.h"

namespace {

int end(engine::ExitStatus status) {
  return static_cast<int>(status);
}

int not_started(const std::string& why) {
  engine::complain(why);
  return end(engine::ExitStatus::kNotStarted);
}

}  // namespace

int main(int argc, char* argv[]) {
  process::hold_standard_descriptors();
  explain_uncaught_exceptions();
  std::cerr.tie(nullptr);  // a message must not wait for whoever reads the samples
  uid.relinquish();
  load_factories(factories);
  auto& request = *new engine::Request;
  engine::Options options(request);
  if (parse_options(argc, argv, options) < 0) {
    return not_started("--help lists the options");
  }
  if (const auto found = engine::conflict(request)) {
    return not_started(*found);
  }
  auto& session = *new engine::Session(request);
  if (const auto refusal = session.prepare()) {
    engine::complain(refusal->text);
    return end(refusal->status);
  }
  if (noisy) {
    summarize();
  }
  session.announce();
  session.set_length();
  return end(session.conclude(run([&session] { return session.start_beside(); })));
}
