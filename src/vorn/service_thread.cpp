#include "vorn/service_thread.h"

#include <semaphore.h>

#include "Assertion/assertion.h"
#include "Host/host.h"
#include "Process/prompt_wakeups.h"
#include "vorn/module.h"

namespace {

/// What a new thread needs to begin, and what it answers. Lives until the answer is there.
struct Start {
  void* (*body)(void*);
  int priority;
  int result;
  sem_t answered;
};

// The thread sets its own priority: its creator could not do so safely, since a body that has
// nothing to do may have ended by then. Refused, it does not begin its body: the program is about
// to end, and would end in the middle of it.
void* begin(void* argument) {
  auto* start = static_cast<Start*>(argument);
  void* (*const body)(void*) = start->body;
  const int result = host::set_fixed_priority(pthread_self(), start->priority);
  start->result = result;
  sem_post(&start->answered);
  if (result != 0) {
    return nullptr;
  }
  process::wake_promptly();
  return body(nullptr);
}

pthread_attr_t joinable(const char* spawner) {
  pthread_attr_t attr;
  assertion(pthread_attr_init(&attr) == 0, "pthread_attr_init(&attr) == 0", kDriverModule, 0,
            spawner);
  assertion(pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_JOINABLE) == 0,
            "pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_JOINABLE) == 0", kDriverModule, 0,
            spawner);
  return attr;
}

void wait(sem_t& semaphore) {
  while (sem_wait(&semaphore) != 0) {  // interrupted
  }
}

}  // namespace

int ServiceThread::start(void* (*body)(void*), int priority, const char* spawner) {
  Start start{.body = body, .priority = priority, .result = 0, .answered = {}};
  sem_init(&start.answered, 0, 0);
  const pthread_attr_t attr = joinable(spawner);

  pthread_mutex_lock(&mutex_);
  start_error_ = pthread_create(&handle_, &attr, begin, &start);
  started_ = start_error_ == 0;
  if (started_) {
    wait(start.answered);
  }
  if (started_ && start.result != 0) {
    pthread_join(handle_, nullptr);
    started_ = false;
    start_error_ = start.result;
  }
  const bool runs = started_;
  pthread_mutex_unlock(&mutex_);
  return runs ? 0 : -1;
}

void ServiceThread::join() {
  join_until(nullptr);
}

void ServiceThread::join_within(int seconds) {
  timespec deadline{};
  clock_gettime(CLOCK_REALTIME, &deadline);  // the clock of pthread_timedjoin_np()
  deadline.tv_sec += seconds;
  join_until(&deadline);
}

void ServiceThread::join_until(const timespec* deadline) {
  // Held while waiting, so that a second caller does not return before the first.
  pthread_mutex_lock(&mutex_);
  if (started_ && (deadline == nullptr ? pthread_join(handle_, nullptr)
                                       : pthread_timedjoin_np(handle_, nullptr, deadline)) == 0) {
    started_ = false;
  }
  pthread_mutex_unlock(&mutex_);
}
