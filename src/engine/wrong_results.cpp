#include "engine/wrong_results.h"

#include <ctime>

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>

#include "Process/capabilities.h"
#include "engine/complaint.h"
#include "engine/nanoseconds.h"
#include "engine/record/clock_reading.h"
#include "vorn/ordinary_thread.h"

namespace engine {

namespace {

/// As RFC 3339 has it, to the millisecond.
std::string wall_text(std::int64_t at_ns) {
  const ClockReading clocks = clock_reading();
  const std::int64_t wall_ns = clocks.wall_ns + (at_ns - clocks.monotonic_ns);
  const std::time_t seconds = wall_ns / kNsPerSecond;
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  std::array<char, 32> date{};
  std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &utc);
  std::array<char, 8> ms{};
  std::snprintf(ms.data(), ms.size(), ".%03dZ",
                static_cast<int>(wall_ns % kNsPerSecond / kNsPerMs));
  return std::string(date.data()) + ms.data();
}

}  // namespace

WrongResults::~WrongResults() {
  if (!started_) {
    return;
  }
  ending_ = true;
  sem_post(&changed_);
  pthread_join(thread_, nullptr);
  sem_destroy(&changed_);
}

bool WrongResults::start() {
  sem_init(&changed_, 0, 0);
  started_ = start_ordinary_thread(thread_, say_firsts, this);
  return started_;
}

void WrongResults::add(unsigned thread, int processor, std::int64_t at_ns) noexcept {
  First& first = firsts_[thread];
  if (first.known.load(std::memory_order_relaxed)) {  // its only writer is here
    return;
  }
  first.processor = processor;
  first.at_ns = at_ns;
  first.known.store(true, std::memory_order_release);
  sem_post(&changed_);
}

void WrongResults::say_new() {
  for (std::size_t thread = 0; thread < firsts_.size(); ++thread) {
    First& first = firsts_[thread];
    if (first.said || !first.known.load(std::memory_order_acquire)) {
      continue;
    }
    first.said = true;
    std::string where;
    if (first.processor >= 0) {
      where = " on core " + std::to_string(first.processor);
    }
    complain("hardware error: thread " + std::to_string(thread) + " computed a wrong result" +
             where + " at " + wall_text(first.at_ns));
  }
}

void* WrongResults::say_firsts(void* self) {
  process::keep_capabilities(process::kNoCapabilities);
  auto* results = static_cast<WrongResults*>(self);
  for (bool ending = false; !ending;) {
    while (sem_wait(&results->changed_) != 0) {  // interrupted
    }
    ending = results->ending_;  // before the look: after it there are no more
    results->say_new();
  }
  return nullptr;
}

}  // namespace engine
