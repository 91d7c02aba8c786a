#include "vorn/uncaught.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <exception>

#include "Process/foremost_thread.h"
#include "Workload/Workload.h"
#include "vorn/thread_notes.h"

namespace {

std::terminate_handler runtime_handler = nullptr;

void explain() {
  try {
    throw;
  } catch (const WorkloadThreadException&) {
    say({note_on_refused_priority()});
  } catch (...) {  // the runtime names it
  }
}

[[noreturn]] void explain_and_end() {
  static std::atomic<bool> ending{false};
  while (ending.exchange(true)) {  // every workload thread fails alike; one is enough
    pause();
  }
  process::become_foremost_thread();  // the load must not come between the text and the end
  if (std::current_exception() != nullptr) {
    explain();
  }
  runtime_handler();
  std::abort();
}

}  // namespace

void explain_uncaught_exceptions() {
  runtime_handler = std::set_terminate(explain_and_end);
}
