// What the live view costs the processor that follows a run: it draws four frames a second, so one
// percent of a processor is 2.5 ms a frame. A full screen with 20 keys that were sampled 10 times a
// second, and whose values all change with every frame. `bytes` is what goes to the terminal.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <string>
#include <vector>

#include "lab/live/screen_view.h"

namespace {

constexpr int kKeys = 20;
constexpr double kIntervalS = 0.1;
constexpr lab::Size kSize{.columns = 120, .rows = 40};
constexpr lab::Look kLook{.utf8 = true, .colour = true};

/// The samples of a run, and its state.
struct GrowingRun {
  explicit GrowingRun(std::size_t rows) {
    for (const auto name : {lab::kAskedColumn, lab::kDeliveredColumn, lab::kOthersColumn}) {
      samples.columns.push_back(
          {.name = std::string(name), .unit = "", .source = "", .values = {}});
    }
    for (int key = 0; key < kKeys; ++key) {
      samples.columns.push_back({.name = "TC" + std::to_string(key),
                                 .unit = "degC",
                                 .source = "the temperature of something",
                                 .values = {}});
    }
    while (samples.time_s.size() < rows) {
      sample();
    }
    state.title = "step on a machine";
    state.phase = "load, 2 of 3";
    state.next = "idle for 60 s";
    state.left_s = 1000;
    state.samples = &samples;
    state.warnings = &warnings;
  }
  GrowingRun(const GrowingRun&) = delete;
  GrowingRun& operator=(const GrowingRun&) = delete;

  void sample() {
    state.elapsed_s = static_cast<double>(samples.time_s.size()) * kIntervalS;
    samples.time_s.push_back(state.elapsed_s);
    for (lab::Column& column : samples.columns) {
      column.values.push_back(column.unit.empty() ? 0.5 : 50 + 20 * std::sin(state.elapsed_s));
    }
  }

  lab::Table samples;
  std::vector<std::string> warnings{"2 processors were slowed down for heat."};
  lab::LiveState state;
};

/// A terminal that takes everything at once.
class ReadTerminal {
 public:
  ReadTerminal() : user_(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK)) {
    (void)grantpt(user_);
    (void)unlockpt(user_);
    program_ = open(ptsname(user_), O_RDWR | O_NOCTTY | O_CLOEXEC);
    const winsize size{
        .ws_row = kSize.rows, .ws_col = kSize.columns, .ws_xpixel = 0, .ws_ypixel = 0};
    (void)ioctl(program_, TIOCSWINSZ, &size);
  }
  ReadTerminal(const ReadTerminal&) = delete;
  ReadTerminal& operator=(const ReadTerminal&) = delete;
  ~ReadTerminal() {
    close(program_);
    close(user_);
  }
  int fd() const { return program_; }
  double take() const {
    double bytes = 0;
    char buffer[8192];
    for (ssize_t count = 0; (count = read(user_, buffer, sizeof buffer)) > 0;) {
      bytes += static_cast<double>(count);
    }
    return bytes;
  }

 private:
  int user_;
  int program_ = -1;
};

void compose_frame(benchmark::State& bench) {
  GrowingRun run(static_cast<std::size_t>(bench.range(0)));
  lab::Extremes extremes;
  extremes.take(run.samples);
  for (auto _ : bench) {
    benchmark::DoNotOptimize(lab::compose(run.state, extremes, kSize, kLook));
  }
}

void show_frame(benchmark::State& bench) {
  GrowingRun run(static_cast<std::size_t>(bench.range(0)));
  const ReadTerminal terminal;
  std::chrono::steady_clock::time_point now;
  lab::ScreenView view(terminal.fd(), kLook, [&now] { return now += std::chrono::seconds(1); });
  view.show(run.state);
  (void)terminal.take();
  double bytes = 0;
  for (auto _ : bench) {
    bench.PauseTiming();
    bytes += terminal.take();
    run.sample();
    bench.ResumeTiming();
    view.show(run.state);
  }
  bench.counters["bytes"] = bytes / static_cast<double>(bench.iterations());
}

constexpr int kMinute = 600;
constexpr int kDay = 864000;

BENCHMARK(compose_frame)->Arg(kMinute)->Arg(kDay)->Unit(benchmark::kMicrosecond);
BENCHMARK(show_frame)->Arg(kMinute)->Arg(kDay)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
