#include "engine/program.h"

#include <iostream>
#include <string>
#include <vector>

#include "SpinLoop/SpinLoop.h"
#include "WorkloadRegistry/registry.h"
#include "engine/complaint.h"
#include "engine/conflicts.h"
#include "engine/exit_status.h"
#include "engine/loads/load_factories.h"
#include "engine/options.h"
#include "engine/session.h"
#include "engine/workload_host.h"
#include "vorn/command_line.h"
#include "vorn/privilege.h"
#include "vorn/run.h"
#include "vorn/settings.h"
#include "vorn/signals.h"
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

int engine::run_program(int argc, char* argv[], WorkloadHost& host) {
  explain_uncaught_exceptions();
  std::cerr.tie(nullptr);  // a message must not wait for whoever reads the samples
  uid.relinquish();
  load_workload(factories, new SpinLoopFactory);  // the engine's bspin is one that counts
  load_engine_factories(factories, host);
  // Never destroyed: a failed start ends main() while threads that they serve may still run.
  static auto& request = *new engine::Request;
  engine::Options options(request);
  if (parse_options(argc, argv, options) < 0) {
    return not_started("--help lists the options");
  }
  if (const auto found = engine::conflict(request)) {
    return not_started(*found);
  }
  static auto& session = *new engine::Session(request, host);
  if (const auto refusal = session.prepare()) {
    engine::complain(refusal->text);
    return end(refusal->status);
  }
  if (noisy) {
    summarize();
  }
  session.announce();
  use_status_at_once([] { return end(session.status_at_once()); });
  session.set_length();
  const std::vector<std::string> arguments(argv, argv + argc);
  return end(session.conclude(run([&] { return session.start_beside(arguments); })));
}
