#include "engine/loads/load_report.h"

#include <unistd.h>

#include <utility>

// Every access is relaxed: each figure stands for itself alone. A sum is a load and a store, for
// there is one writer.

namespace {

constexpr std::memory_order kRelaxed = std::memory_order_relaxed;

void add_to(std::atomic<std::uint64_t>& sum, std::uint64_t more) {
  sum.store(sum.load(kRelaxed) + more, kRelaxed);
}

}  // namespace

LoadReport::LoadReport(std::string load, unsigned core, unsigned burst_rounds)
    : load_(std::move(load)), core_(core), thread_id_(gettid()), burst_rounds_(burst_rounds) {}

Work LoadReport::work() const noexcept {
  return {.operations = operations_.load(kRelaxed), .bytes = bytes_.load(kRelaxed)};
}

std::uint64_t LoadReport::bursts() const noexcept {
  return bursts_.load(kRelaxed);
}

std::uint64_t LoadReport::wrong_results() const noexcept {
  return wrong_results_.load(kRelaxed);
}

void LoadReport::request_fault() noexcept {
  fault_requested_.store(true, kRelaxed);
}

void LoadReport::add(const Work& work) noexcept {
  add_to(operations_, work.operations);
  add_to(bytes_, work.bytes);
  add_to(bursts_, 1);
}

void LoadReport::add_wrong_result() noexcept {
  add_to(wrong_results_, 1);
}

bool LoadReport::take_fault() noexcept {
  // Read first: what nobody writes stays in every cache.
  return fault_requested_.load(kRelaxed) && fault_requested_.exchange(false, kRelaxed);
}
