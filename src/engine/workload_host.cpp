#include "engine/workload_host.h"

#include <sstream>

#include "engine/exit_status.h"
#include "engine/loads/load_report.h"
#include "engine/record/record.h"
#include "vorn/settings.h"
#include "vorn/workload_threads.h"

namespace engine {

namespace {

struct ThisThread {
  unsigned number = 0;
  unsigned core = 0;
};

thread_local ThisThread this_thread;

}  // namespace

void WorkloadHost::use(Placement& placement, WrongResults& wrong_results, Record* record,
                       bool bound, unsigned threads) {
  placement_ = &placement;
  wrong_results_ = &wrong_results;
  record_ = record;
  bound_ = bound;
  reports_.resize(threads);
  readiness_.expect(threads);
}

unsigned WorkloadHost::core(unsigned t) const {
  return placement_ != nullptr ? placement_->core(t) : WorkloadPlacement::core(t);
}

void WorkloadHost::begin(unsigned t, std::uint32_t core) {
  this_thread = {.number = t, .core = core};
  placement_->begin(t, core);
  readiness_.begins();
}

void WorkloadHost::ready(const std::shared_ptr<LoadReport>& report) {
  reports_[this_thread.number] = report;
}

BurstObserver* WorkloadHost::burst_observer() {
  return record_ != nullptr ? &record_->thread(this_thread.number) : nullptr;
}

void WorkloadHost::made() {
  if (record_ != nullptr) {
    begin_record();
  }
  readiness_.made();
}

void WorkloadHost::begin_record() {
  std::function<Work()> work;
  if (const auto& report = reports_[this_thread.number]) {
    work = [report] { return report->work(); };
  }
  record_->thread(this_thread.number)
      .begun(workloads[thread_to_workload(this_thread.number)],
             bound_ ? static_cast<int>(this_thread.core) : -1, std::move(work));
}

void WorkloadHost::ended() {
  if (record_ != nullptr) {
    record_->thread(this_thread.number).ended();
  }
}

void WorkloadHost::wrong_result(const WrongResult& result) noexcept {
  verdict.add(ExitStatus::kWrongResult);
  wrong_results_->add(this_thread.number, result.processor, result.at_ns);
  if (record_ != nullptr) {
    record_->load_error(this_thread.number, result.processor, result.at_ns, "wrong result");
  }
}

std::vector<std::string> WorkloadHost::work_texts() const {
  std::vector<std::string> texts;
  for (std::size_t thread = 0; thread < reports_.size(); ++thread) {
    if (const LoadReport* report = reports_[thread].get()) {
      const Work work = report->work();
      std::ostringstream text;
      text << "workload thread " << thread << " running \"" << report->load() << "\" did "
           << work.operations << " operations and moved " << work.bytes << " bytes, "
           << report->wrong_results() << " results wrong";
      texts.push_back(text.str());
    }
  }
  return texts;
}

std::uint64_t WorkloadHost::wrong_results() const {
  std::uint64_t sum = 0;
  for (const auto& report : reports_) {
    sum += report ? report->wrong_results() : 0;
  }
  return sum;
}

}  // namespace engine
