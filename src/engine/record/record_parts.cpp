#include "engine/record/record_parts.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace {

// Room for the time that the writer may be kept from its work: some seconds, in which a load of
// fixed priority leaves it nothing, or the disk is busy. At 2 kHz an edge comes 4000 times a
// second.
constexpr std::size_t kEdges = 65536;            // 16 s at 2 kHz, 1.5 MB
constexpr std::size_t kAsked = 8192;             // as fast as they are read: 500 times a second
constexpr std::size_t kMostBursts = 65536;       // of one thread: 16 s at 2 kHz, 1.5 MB
constexpr std::size_t kBurstsOfAll = 4u << 20U;  // 96 MB, from 64 threads on

std::size_t bursts_of_each(unsigned threads) {
  return std::clamp<std::size_t>(kBurstsOfAll / std::max(threads, 1U), 1024, kMostBursts);
}

/// 16 s of samples with all threads, but not more than 16 MB.
std::size_t room_for_samples(unsigned threads, double samples_per_second) {
  constexpr double kSeconds = 16.0;
  constexpr double kLeast = 64.0;  // samples
  constexpr double kMost = 16e6 / sizeof(SampleEvent);
  const double samples = std::max(kSeconds * samples_per_second, kLeast);
  return static_cast<std::size_t>(std::min(samples * (threads + 1), kMost));
}

std::vector<std::unique_ptr<ThreadRecord>> records_of(unsigned threads) {
  std::vector<std::unique_ptr<ThreadRecord>> records;
  for (unsigned thread = 0; thread < threads; ++thread) {
    records.push_back(std::make_unique<ThreadRecord>(thread, bursts_of_each(threads)));
  }
  return records;
}

}  // namespace

Signal::Signal() : file_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (file_ < 0) {
    throw RecordError(std::string("the record's writer: ") + std::strerror(errno));
  }
}

Signal::~Signal() {
  close(file_);
}

void Signal::set() noexcept {
  set_.store(true, std::memory_order_release);
  eventfd_write(file_, 1);
}

bool Signal::wait(int ms) noexcept {
  if (!set_.load(std::memory_order_acquire)) {
    pollfd counted{.fd = file_, .events = POLLIN, .revents = 0};
    poll(&counted, 1, ms);
  }
  return set_.load(std::memory_order_acquire);
}

RecordParts::RecordParts(RecordPlan the_plan, std::unique_ptr<RecordFile> the_file)
    : edges(kEdges, kAsked),
      samples(room_for_samples(the_plan.threads, the_plan.samples_per_second)),
      plan(std::move(the_plan)),
      file(the_file ? std::move(the_file) : std::make_unique<RecordFile>(plan.path)),
      threads(records_of(plan.threads)) {}
