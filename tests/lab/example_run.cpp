#include "lab/example_run.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace lab {

namespace {

constexpr double kRate_hz = 10;
constexpr double kIdle_s = 30;
constexpr double kLoad_s = 90;
constexpr double kEnd_s = 180;
constexpr double kPower_w = 41;

/// Noise of about -1 to 1 that is always the same.
class Noise {
 public:
  double next() {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return static_cast<double>(state_ >> 11U) * 0x1p-52 - 1;
  }

 private:
  std::uint64_t state_ = 1;
};

double step_response(double since_s, double resistance, double tau_s) {
  return since_s <= 0 ? 0 : resistance * (1 - std::exp(-since_s / tau_s));
}

double impedance(double since_s, double share) {
  return share * (step_response(since_s, 0.31, 1.6) + step_response(since_s, 0.52, 21));
}

/// The rise of a temperature in a run of idle, load, idle.
double rise(double time_s, double share) {
  return kPower_w *
         (impedance(time_s - kIdle_s, share) - impedance(time_s - kIdle_s - kLoad_s, share));
}

Column column(std::string name, std::string unit, std::string source) {
  return {
      .name = std::move(name), .unit = std::move(unit), .source = std::move(source), .values = {}};
}

std::vector<Column> columns() {
  return {column(std::string(kPhaseColumn), "", ""),
          column(std::string(kAskedColumn), "", ""),
          column(std::string(kDeliveredColumn), "", ""),
          column(std::string(kOthersColumn), "", ""),
          column("TC0D", "degC", "coretemp: Package id 0"),
          column("TA0P", "degC", "acpitz"),
          column("PC0C", "W", "RAPL package-0"),
          column("F0Ac", "RPM", "nct6798: fan1"),
          column("F1Ac", "RPM", "nct6798: fan2")};
}

Plan plan() {
  Plan plan;
  plan.question = "step";
  plan.power = "PC0C";
  plan.fans.hold = Fans::Hold::maximum;
  plan.keys = {"TC0D", "TA0P", "PC0C", "F0Ac", "F1Ac"};
  plan.limits = {{"TC0D", 98}};
  Phase idle;
  idle.name = "idle before";
  idle.duration_s = kIdle_s;
  Phase load;
  load.name = "load";
  load.drive.duty = 1;
  load.duration_s = kLoad_s;
  load.until_settled = true;
  Phase after = idle;
  after.name = "idle after";
  after.duration_s = kEnd_s - kIdle_s - kLoad_s;
  plan.phases = {idle, load, after};
  return plan;
}

RunInfo info() {
  RunInfo info;
  info.question = "step";
  info.end = RunEnd::complete;
  info.engine_status = 0;
  info.host = "bench-3";
  info.system = "Linux 6.8.0 x86_64";
  info.processor = "Example Processor 8-Core at 3.4 GHz";
  info.processors = 16;
  info.lab_version = "0.2";
  info.engine_version = "0.2";
  info.command = {"vorn-lab", "step", "-k", "TC0D", "--out", "runs/new cooler"};
  info.engine_commands = {{"vorn-engine", "-w", "bmix", "-d", "1", "-t", "180s", "-m", "-r", "10"}};
  info.begun = "2026-11-21T20:31:07+01:00";
  info.ended = "2026-11-21T20:34:07+01:00";
  info.fans = "held at their maximum";
  info.pstate = "left to the machine";
  for (const char* name : {"idle before", "load", "idle after"}) {
    info.phases.push_back({.name = name,
                           .engine_start = 0,
                           .fans = "held at their maximum",
                           .pstate = "left to the machine"});
  }
  info.warnings = {"TA0P moves in steps of 1 °C. Repeat the step to see it more finely."};
  return info;
}

Delivery delivery() {
  Delivery delivery;
  delivery.edges = 2;
  delivery.edge_lateness_p50_us = 3.2;
  delivery.edge_lateness_p99_us = 7.9;
  delivery.edge_lateness_max_us = 7.9;
  delivery.skew_p50_us = 21;
  delivery.skew_p99_us = 55;
  delivery.duty_asked = 0.5;
  delivery.duty_delivered = 0.4987;
  delivery.holes = 3;
  delivery.holes_s = 0.0062;
  delivery.longest_hole_s = 0.0031;
  delivery.samples = 1800;
  delivery.sample_gap_max_s = 0.1021;
  delivery.whole = true;
  return delivery;
}

Chart impedance_chart() {
  Chart chart;
  chart.title = "Thermal impedance";
  chart.x_label = "time after a step of heat, s";
  chart.y_label = "Z_th, K/W";
  chart.x_scale = Chart::Scale::logarithmic;
  chart.note = "Each step of the curve is a stage: a part of the machine that warms up by itself.";
  Series measured{.name = "TC0D measured",
                  .style = Series::Style::points,
                  .x = {},
                  .y = {},
                  .low = {},
                  .high = {}};
  Series fitted{
      .name = "TC0D fitted", .style = Series::Style::line, .x = {}, .y = {}, .low = {}, .high = {}};
  Series other{
      .name = "TA0P fitted", .style = Series::Style::line, .x = {}, .y = {}, .low = {}, .high = {}};
  Noise noise;
  for (double t = 0.1; t < kLoad_s; t *= 1.08) {
    measured.x.push_back(t);
    measured.y.push_back(impedance(t, 1) + 0.012 * noise.next());
  }
  for (double t = 0.1; t < kLoad_s; t *= 1.05) {
    const double z = impedance(t, 1);
    fitted.x.push_back(t);
    fitted.y.push_back(z);
    fitted.low.push_back(z * 0.97 - 0.008);
    fitted.high.push_back(z * 1.03 + 0.008);
    other.x.push_back(t);
    other.y.push_back(impedance(t, 0.3));
  }
  chart.series = {measured, fitted, other};
  return chart;
}

Run run_without_samples() {
  Run run{.plan = plan(),
          .info = info(),
          .samples = {},
          .delivery = delivery(),
          .stimulus = {},
          .scheduler = {}};
  run.samples.columns = columns();
  return run;
}

}  // namespace

Run example_run() {
  Run run = run_without_samples();
  Noise noise;
  const auto samples = static_cast<std::size_t>(kEnd_s * kRate_hz);
  for (std::size_t row = 0; row < samples; ++row) {
    const double t = static_cast<double>(row) / kRate_hz;
    const bool load = t >= kIdle_s && t < kIdle_s + kLoad_s;
    run.samples.time_s.push_back(t);
    const std::vector<double> values{
        t < kIdle_s ? 0.0 : (load ? 1.0 : 2.0),
        load ? 1.0 : 0.0,
        load ? 0.995 + 0.004 * noise.next() : 0,
        0.012 + 0.01 * noise.next(),
        38 + rise(t, 1) + 0.25 * noise.next(),
        std::round(31 + rise(t, 0.3)),
        9 + (load ? kPower_w + 0.03 * rise(t, 1) : 0) + 0.4 * noise.next(),
        1480 + 6 * noise.next(),
        1455 + 6 * noise.next()};
    for (std::size_t i = 0; i < values.size(); ++i) {
      run.samples.columns[i].values.push_back(values[i]);
    }
  }
  return run;
}

Answer example_answer() {
  constexpr double kNone = std::numeric_limits<double>::infinity();
  Answer answer;
  answer.sentences = {
      "TC0D warms by 0.83 K for each watt that PC0C shows: 0.31 K/W within two seconds, where the "
      "processor meets its cooler, and 0.52 K/W over about twenty seconds, where the cooler meets "
      "the air.",
      "Under full load it settles 34 °C above idle, at 72 °C with the fans at their maximum.",
      "TA0P rises by 0.25 K/W; its one-degree steps do not tell its fast stage."};
  answer.tables.push_back(
      {.title = "Thermal stages against PC0C",
       .head = {"Key", "Stage", "Resistance", "Time constant", "Heat capacity"},
       .rows = {{"TC0D", "all", Estimate{0.8312, 0.8239, 0.8391, "K/W"}, "", ""},
                {"TC0D", "1", Estimate{0.3094, 0.3012, 0.3181, "K/W"},
                 Estimate{1.612, 1.51, 1.73, "s"}, Estimate{5.21, 4.81, 5.66, "J/K"}},
                {"TC0D", "2", Estimate{0.5218, 0.515, 0.5291, "K/W"},
                 Estimate{21.04, 20.2, 21.9, "s"}, Estimate{40.3, 38.5, 42.4, "J/K"}},
                {"TA0P", "all", Estimate{0.25, 0.21, 0.29, "K/W"}, Estimate{20.1, 12, kNone, "s"},
                 ""}}});
  answer.charts = {impedance_chart()};
  answer.warnings = {
      "TA0P: the run is too short for its slowest stage. Give the load more time: --load 10m."};
  return answer;
}

Run long_run(std::size_t samples, std::size_t peak_row) {
  Run run = run_without_samples();
  run.delivery.samples = static_cast<std::int64_t>(samples);
  Noise noise;
  for (std::size_t row = 0; row < samples; ++row) {
    const double t = static_cast<double>(row) / kRate_hz;
    const double wave = 0.5 + 0.5 * std::sin(t / 900);
    run.samples.time_s.push_back(t);
    const std::vector<double> values{1,
                                     wave,
                                     wave * 0.99,
                                     0.01 + 0.01 * noise.next(),
                                     row == peak_row ? 150 : 40 + 30 * wave + 0.5 * noise.next(),
                                     std::round(31 + 8 * wave),
                                     9 + kPower_w * wave + 0.5 * noise.next(),
                                     1480 + 6 * noise.next(),
                                     1455 + 6 * noise.next()};
    for (std::size_t i = 0; i < values.size(); ++i) {
      run.samples.columns[i].values.push_back(values[i]);
    }
  }
  return run;
}

}  // namespace lab
