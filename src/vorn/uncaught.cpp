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
  static std::atomic<pid_t> ending{0};
  for (pid_t other = 0; !ending.compare_exchange_strong(other, gettid()); other = 0) {
    if (other == gettid()) {
      std::abort();  // it failed once more while it explained
    }
    pause();  // every workload thread fails alike; one is enough
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
