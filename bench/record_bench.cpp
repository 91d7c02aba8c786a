#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "WorkloadRegistry/registry.h"
#include "engine/burst_observer.h"
#include "engine/loads/load_factories.h"
#include "engine/loads/load_host.h"
#include "engine/record/record.h"
#include "engine/waveforms/waveforms.h"
#include "vorn/clock.h"
#include "vorn/command_line.h"
#include "vorn/edge_observer.h"
#include "vorn/interval_source.h"
#include "vorn/run.h"
#include "vorn/settings.h"
#include "vorn/waveform.h"

// What recording costs the waveform: the same run with a record and without one, in turns, each in
// a process of its own, on the simulated machine. All figures are seen from inside, by the same
// observers, which pass on to the record what they see or to nobody:
//
//   edge    from the planned instant to when the timing thread tells of the switch, us
//   begin   from the planned instant of an on edge to a thread's first burst, us
//   leave   from the planned instant of an off edge to the end of a thread's last burst, us
//   call    what the record's own call takes, ns: of an edge, and of a burst
//
// `record_bench [FILE]` writes the records to FILE, which it leaves there, or to a file in /tmp.
// Needs the right to fixed priorities up to 64.

namespace {

constexpr double kFrequencies[] = {50, 500, 2000};
constexpr double kSeconds = 3;
constexpr int kRounds = 2;

struct Edge {
  std::int64_t planned_ns;
  std::int64_t switched_ns;
  bool active;
};

class EdgeProbe final : public EdgeObserver {
 public:
  EdgeProbe(std::size_t most, EdgeObserver* next) : next_(next) { edges_.reserve(most); }

  void switched(std::int64_t planned_ns, std::int64_t switched_ns, bool active) noexcept override {
    if (edges_.size() < edges_.capacity()) {
      edges_.push_back({planned_ns, switched_ns, active});
    }
    if (next_ != nullptr) {
      next_->switched(planned_ns, switched_ns, active);
    }
  }

  const std::vector<Edge>& edges() const { return edges_; }

 private:
  std::vector<Edge> edges_;
  EdgeObserver* next_;
};

class BurstProbe final : public BurstObserver {
 public:
  BurstProbe(std::size_t most, BurstObserver* next) : next_(next) {
    begins_ns.reserve(most);
    ends_ns.reserve(most);
  }

  void entered(std::int64_t at_ns, int processor) noexcept override {
    if (begins_ns.size() < begins_ns.capacity()) {
      begins_ns.push_back(at_ns);
    }
    if (next_ != nullptr) {
      next_->entered(at_ns, processor);
    }
  }
  void left(std::int64_t at_ns) noexcept override {
    if (ends_ns.size() < ends_ns.capacity()) {
      ends_ns.push_back(at_ns);
    }
    if (next_ != nullptr) {
      next_->left(at_ns);
    }
  }

  std::vector<std::int64_t> begins_ns;
  std::vector<std::int64_t> ends_ns;

 private:
  BurstObserver* next_;
};

/// Gives each load the next probe.
class Host final : public LoadHost {
 public:
  explicit Host(std::vector<std::unique_ptr<BurstProbe>>& probes) : probes_(probes) {}
  BurstObserver* burst_observer() override { return probes_.at(next_++).get(); }

 private:
  std::vector<std::unique_ptr<BurstProbe>>& probes_;
  std::atomic<std::size_t> next_{0};
};

/// The first intervals of another source.
class Beginning final : public IntervalSource {
 public:
  Beginning(IntervalSource& source, std::size_t intervals) : source_(source), left_(intervals) {}
  std::optional<std::int64_t> next_ns() override {
    return left_-- > 0 ? source_.next_ns() : std::nullopt;
  }

 private:
  IntervalSource& source_;
  std::size_t left_;
};

struct Figures {
  std::size_t edges = 0;
  double edge_us[2]{};  // median, 99th percentile; the others too
  double begin_us[2]{};
  double leave_us[2]{};
  unsigned long lost = 0;
};

void percentiles(std::vector<double>& values, double (&result)[2]) {
  if (values.empty()) {
    return;
  }
  std::sort(values.begin(), values.end());
  result[0] = values[values.size() / 2];
  result[1] = values[values.size() * 99 / 100];
}

/// How long after the last planned edge of its kind each of `at_ns` was.
void add_latencies(std::vector<double>& latencies, const std::vector<Edge>& edges, bool active,
                   const std::vector<std::int64_t>& at_ns) {
  std::vector<std::int64_t> planned;
  for (const Edge& edge : edges) {
    if (edge.active == active) {
      planned.push_back(edge.planned_ns);
    }
  }
  for (const std::int64_t at : at_ns) {
    const auto behind = std::upper_bound(planned.begin(), planned.end(), at);
    if (behind != planned.begin()) {
      latencies.push_back(static_cast<double>(at - *(behind - 1)) / 1e3);
    }
  }
}

Figures figures_of(const EdgeProbe& edges, const std::vector<std::unique_ptr<BurstProbe>>& bursts) {
  Figures figures;
  figures.edges = edges.edges().size();
  std::vector<double> late;
  for (const Edge& edge : edges.edges()) {
    late.push_back(static_cast<double>(edge.switched_ns - edge.planned_ns) / 1e3);
  }
  std::vector<double> begins;
  std::vector<double> leaves;
  for (const auto& probe : bursts) {
    add_latencies(begins, edges.edges(), true, probe->begins_ns);
    add_latencies(leaves, edges.edges(), false, probe->ends_ns);
  }
  percentiles(late, figures.edge_us);
  percentiles(begins, figures.begin_us);
  percentiles(leaves, figures.leave_us);
  return figures;
}

/// One run in this process. `path`: of the record; empty for none.
Figures play(double hertz, unsigned threads, const std::string& path) {
  const auto intervals = static_cast<std::size_t>(2 * hertz * kSeconds);
  std::unique_ptr<Record> record;
  if (!path.empty()) {
    RecordPlan plan;
    plan.path = path;
    plan.program = "record_bench";
    plan.threads = threads;
    plan.active = &params.active;
    record = std::make_unique<Record>(plan);
  }
  std::vector<std::unique_ptr<BurstProbe>> bursts;
  for (unsigned thread = 0; thread < threads; ++thread) {
    bursts.push_back(
        std::make_unique<BurstProbe>(intervals, record ? &record->thread(thread) : nullptr));
  }
  EdgeProbe edges(intervals + 2, record ? &record->edge_observer() : nullptr);
  const auto endless = constant_duty(hertz, 0.5);
  Beginning source(*endless, intervals);
  waveform.source = &source;
  waveform.observer = &edges;
  Host host(bursts);
  load_factories(factories);
  load_engine_factories(factories, host);
  std::string count = std::to_string(threads);
  std::string words[] = {"record_bench", "-w", "bspin", "-c", count, "-s", "0"};
  std::vector<char*> arguments;
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  if (parse_options(static_cast<int>(arguments.size()) - 1, arguments.data()) < 0 || run() < 0) {
    std::exit(1);
  }
  Figures figures = figures_of(edges, bursts);
  if (record) {
    const RecordLosses losses = record->finish("the end", 0);
    figures.lost = losses.events + losses.lines;
  }
  return figures;
}

/// The same in a process of its own: a run leaves its marks in its process.
std::optional<Figures> play_apart(double hertz, unsigned threads, const std::string& path) {
  int ends[2];
  if (pipe(ends) != 0) {
    return std::nullopt;
  }
  const pid_t child = fork();
  if (child == 0) {
    const Figures figures = play(hertz, threads, path);
    _exit(write(ends[1], &figures, sizeof figures) == sizeof figures ? 0 : 1);
  }
  close(ends[1]);
  Figures figures;
  const bool whole = read(ends[0], &figures, sizeof figures) == sizeof figures;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return whole ? std::optional(figures) : std::nullopt;
}

void print_calls(const std::string& path) {
  RecordPlan plan;
  plan.path = path;
  plan.threads = 1;
  Record record(plan);
  constexpr int kCalls = 50000;  // all find room
  std::int64_t begin = monotonic_ns();
  for (int i = 0; i < kCalls; ++i) {
    record.edge_observer().switched(i, i, true);
  }
  const double edge_ns = static_cast<double>(monotonic_ns() - begin) / kCalls;
  begin = monotonic_ns();
  for (int i = 0; i < kCalls; ++i) {
    record.thread(0).entered(i, 0);
  }
  const double burst_ns = static_cast<double>(monotonic_ns() - begin) / kCalls;
  std::printf("call: edge %.0f ns, burst %.0f ns\n", edge_ns, burst_ns);
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc > 2 || (argc == 2 && argv[1][0] == '-')) {
    std::fprintf(stderr, "usage: record_bench [FILE]\n");
    return 2;
  }
  const std::string path = argc == 2 ? argv[1] : "/tmp/record_bench.record";
  const unsigned threads = std::max(std::thread::hardware_concurrency(), 1U);
  std::printf("%6s %-8s %7s %16s %16s %16s %6s\n", "Hz", "record", "edges", "edge p50/p99",
              "begin p50/p99", "leave p50/p99", "lost");
  std::fflush(stdout);  // or each run prints it once more
  for (const double hertz : kFrequencies) {
    for (int round = 0; round < 2 * kRounds; ++round) {
      const bool recorded = round % 2 == 1;
      const auto figures = play_apart(hertz, threads, recorded ? path : "");
      if (!figures) {
        std::fprintf(stderr, "record_bench: a run failed: it needs the right to priority 64\n");
        return 1;
      }
      std::printf("%6.0f %-8s %7zu %8.1f %7.1f %8.1f %7.1f %8.1f %7.1f %6lu\n", hertz,
                  recorded ? "yes" : "no", figures->edges, figures->edge_us[0], figures->edge_us[1],
                  figures->begin_us[0], figures->begin_us[1], figures->leave_us[0],
                  figures->leave_us[1], figures->lost);
      std::fflush(stdout);
    }
  }
  print_calls(path);
  return 0;
}
