#include "engine/record/thread_record.h"

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <utility>

void ThreadRecord::begun(std::string_view load, int processor, std::function<Work()> work) {
  load_ = load;
  bound_to_ = processor;
  work_ = std::move(work);
  id_ = gettid();
  sched_param param{};
  if (pthread_getschedparam(pthread_self(), &policy_, &param) == 0) {
    priority_ = param.sched_priority;
  }
  pthread_getcpuclockid(pthread_self(), &clock_);
  state_.store(State::running, std::memory_order_release);
}

void ThreadRecord::ended() noexcept {
  final_use_ = own_processor_use();
  state_.store(State::over, std::memory_order_release);
}

void ThreadRecord::left(std::int64_t last_burst_end_ns) noexcept {
  events_.push({.at_ns = last_burst_end_ns,
                .until_ns = 0,
                .processor = sched_getcpu(),
                .kind = BurstEvent::Kind::left});
}

void ThreadRecord::entered(std::int64_t first_burst_begin_ns, int processor) noexcept {
  events_.push({.at_ns = first_burst_begin_ns,
                .until_ns = 0,
                .processor = processor,
                .kind = BurstEvent::Kind::entered});
}

void ThreadRecord::held_up(std::int64_t from_ns, std::int64_t until_ns) noexcept {
  events_.push({.at_ns = from_ns,
                .until_ns = until_ns,
                .processor = sched_getcpu(),
                .kind = BurstEvent::Kind::held_up});
}

std::optional<std::int64_t> ThreadRecord::processor_time_ns() const noexcept {
  if (state() == State::over) {
    return final_use_.time_ns;
  }
  timespec time{};
  if (clock_gettime(clock_, &time) != 0) {
    return std::nullopt;
  }
  return std::int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
}
