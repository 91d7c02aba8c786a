#include "Workload/activity.h"

#include <pthread.h>

#include <mutex>

namespace {

// Guards the list and the sum: taken when a thread begins, when it ends, and by who asks. Nothing
// is taken with it. A lock keeps a thread's clock from ending while it is read.
std::mutex lock;
Activity* first = nullptr;
double ended_excess_ns = 0;

std::int64_t time_ns(clockid_t clock) {
  constexpr std::int64_t kNsPerS = 1'000'000'000;
  timespec time{};
  clock_gettime(clock, &time);
  return time.tv_sec * kNsPerS + time.tv_nsec;
}

}  // namespace

Activity::Activity(double activity) : excess_(activity - kOrdinaryActivity) {
  if (excess_ == 0) {
    return;
  }
  pthread_getcpuclockid(pthread_self(), &clock_);
  begun_ns_ = time_ns(clock_);
  const std::lock_guard<std::mutex> guard(lock);
  next_ = first;
  if (next_ != nullptr) {
    next_->previous_ = this;
  }
  first = this;
}

Activity::~Activity() {
  if (excess_ == 0) {
    return;
  }
  const std::lock_guard<std::mutex> guard(lock);
  ended_excess_ns += excess_ns();
  (previous_ != nullptr ? previous_->next_ : first) = next_;
  if (next_ != nullptr) {
    next_->previous_ = previous_;
  }
}

double Activity::excess_ns() const {
  return excess_ * static_cast<double>(time_ns(clock_) - begun_ns_);
}

double activity_excess_ns() {
  const std::lock_guard<std::mutex> guard(lock);
  double sum = ended_excess_ns;
  for (const Activity* activity = first; activity != nullptr; activity = activity->next_) {
    sum += activity->excess_ns();
  }
  return sum;
}
