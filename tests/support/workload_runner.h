#pragma once

#include <pthread.h>

#include <chrono>
#include <ctime>
#include <functional>
#include <thread>

#include "Workload/Workload.h"
#include "Workload/workload_params.h"

/// A workload that runs in a thread of its own against a block of its own, until the runner goes.
class WorkloadRunner {
 public:
  template <typename MakeWorkload>
  WorkloadRunner(MakeWorkload make, bool active) : params_{active, {}, {}, false} {
    pthread_mutex_init(&params_.mutex, nullptr);
    pthread_cond_init(&params_.cond, nullptr);
    thread_ = std::thread([this, make] { make()->run(&params_); });
  }
  WorkloadRunner(const WorkloadRunner&) = delete;
  WorkloadRunner& operator=(const WorkloadRunner&) = delete;
  ~WorkloadRunner() {
    params_.terminate = true;
    switch_to(true);
    thread_.join();
    pthread_cond_destroy(&params_.cond);
    pthread_mutex_destroy(&params_.mutex);
  }

  /// Switches the waveform as the timing thread does.
  void switch_to(bool active) {
    pthread_mutex_lock(&params_.mutex);
    params_.active = active;
    pthread_cond_broadcast(&params_.cond);
    pthread_mutex_unlock(&params_.mutex);
  }

  /// Processor time that the workload has used, in seconds.
  double processor_time() {
    clockid_t clock{};
    timespec t{};
    pthread_getcpuclockid(thread_.native_handle(), &clock);
    clock_gettime(clock, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
  }

  /// Waits until the workload has used `seconds` more of a processor. False after half a minute.
  bool uses_processor(double seconds) {
    const double goal = processor_time() + seconds;
    for (int tries = 0; tries < 30000; ++tries) {
      if (processor_time() >= goal) {
        return true;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  }

 private:
  workload_params params_;
  std::thread thread_;
};
