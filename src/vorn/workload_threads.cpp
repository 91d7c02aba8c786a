#include "vorn/workload_threads.h"

#include <pthread.h>
#include <sched.h>

#include <memory>
#include <vector>

#include "Assertion/assertion.h"
#include "Host/host.h"
#include "Process/capabilities.h"
#include "Process/prompt_wakeups.h"
#include "Workload/Workload.h"
#include "Workload/WorkloadFactory.h"
#include "vorn/module.h"
#include "vorn/settings.h"
#include "vorn/workload_placement.h"

namespace {

/// A workload thread's record with its number.
struct NumberedThread : workload_thread {
  unsigned number = 0;
};

void init_numbered_thread(NumberedThread& thread, unsigned t) {
  init_workload_thread(&thread, t);
  thread.number = t;
}

void* numbered_thread(void* arg) {
  auto* thread = static_cast<NumberedThread*>(arg);
  process::wake_promptly();  // those who wait for the waveform sleep by timers of their own
  workload_placement->begin(thread->number, thread->core);
  return workload_thread(static_cast<struct workload_thread*>(thread));
}

}  // namespace

int ncpus() {
  return host::processor_count();
}

int num_workload_threads() {
  const int threads = cores != kNotGiven ? static_cast<int>(cores) : ncpus();
  assertion(threads > 0, "threads > 0", kDriverModule, 502);
  return threads;
}

int workload_thread_priority() {
  return using_timing_thread() || using_monitor_thread() || threads_beside ? 31 : 63;
}

unsigned min(unsigned a, unsigned b) {
  return a >= b ? b : a;
}

unsigned thread_to_core(unsigned t) {
  return workload_placement->core(t);
}

unsigned thread_to_workload(unsigned t) {
  assertion(!workloads.empty(), "!workloads.empty()", kDriverModule, 529);
  return min(t, static_cast<unsigned>(workloads.size() - 1));
}

void init_workload_thread(struct workload_thread* wt, unsigned t) {
  assertion(wt != nullptr, "wt", kDriverModule, 1259);
  wt->core = thread_to_core(t);
  wt->workload = thread_to_workload(t);
}

void* workload_thread(void* arg) {
  assertion(arg != nullptr, "workload_thread", kDriverModule, 1134);
  assertion(!workloads.empty(), "!workloads.empty()", kDriverModule, 1135);
  const auto* wt = static_cast<struct workload_thread*>(arg);
  const auto wf = factories.find(workloads[wt->workload]);
  assertion(wf != factories.end(), "wf != factories.end()", kDriverModule, 1142);
  std::unique_ptr<Workload> workload(
      wf->second->make(wt->core, static_cast<unsigned>(workload_thread_priority())));
  process::keep_capabilities(process::kNoCapabilities);  // it has its priority
  workload_placement->made();
  // A thread of the same priority may stand in the queue behind this one, before its first
  // statement. Nobody would take the processor from the load for it.
  sched_yield();
  workload->run(&params);
  workload.reset();
  workload_placement->ended();
  return nullptr;
}

int spawn_workloads() {
  const int threads = num_workload_threads();
  Workload::init();
  if (threads == 1) {
    NumberedThread record;
    init_numbered_thread(record, 0);
    numbered_thread(&record);
    return 0;
  }

  pthread_attr_t attr;
  assertion(pthread_attr_init(&attr) == 0, "pthread_attr_init(&attr) == 0", kDriverModule, 1284);
  assertion(pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_JOINABLE) == 0,
            "pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_JOINABLE) == 0", kDriverModule,
            1285);
  // Grown thread by thread: a count that no machine can start must fail there, not here.
  std::vector<pthread_t> tid;
  std::vector<NumberedThread*> wt;
  for (unsigned t = 0; t < static_cast<unsigned>(threads); ++t) {
    wt.push_back(new NumberedThread);
    assertion(wt[t] != nullptr, "wt[t] = new struct workload_thread", kDriverModule, 1289);
    init_numbered_thread(*wt[t], t);
    tid.emplace_back();
    if (pthread_create(&tid[t], &attr, numbered_thread, wt[t]) != 0) {
      return -1;  // the threads already started run on, with their records
    }
  }
  process::keep_capabilities(process::kNoCapabilities);  // the others have theirs, or inherited it
  for (unsigned t = 0; t < static_cast<unsigned>(threads); ++t) {
    pthread_join(tid[t], nullptr);
    delete wt[t];
  }
  return 0;
}
