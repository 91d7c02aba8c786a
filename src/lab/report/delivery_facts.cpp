#include <cmath>
#include <optional>

#include "lab/plan/duration.h"
#include "lab/report/column_range.h"
#include "lab/report/facts.h"
#include "lab/report/number_text.h"

namespace lab {

namespace {

struct Part {
  const char* name;
  std::optional<double> value;
};

/// "median 12 us, 99 % 40 us"; empty if none is known.
std::string parts_text(const std::vector<Part>& parts) {
  std::string text;
  for (const Part& part : parts) {
    if (part.value.has_value()) {
      text += (text.empty() ? "" : ", ") + std::string(part.name) + " " +
              with_unit(number_text(*part.value, 3), "µs");
    }
  }
  return text;
}

std::string duty_text(const Delivery& delivery) {
  std::string text;
  if (delivery.duty_asked.has_value()) {
    text = percent_text(*delivery.duty_asked) + " asked";
  }
  if (delivery.duty_delivered.has_value()) {
    text += (text.empty() ? "" : ", ") + percent_text(*delivery.duty_delivered) + " delivered";
  }
  return text;
}

std::string holes_text(const Delivery& delivery) {
  if (delivery.holes == 0) {
    return "none of 1 ms or more";
  }
  std::string text =
      count_text(delivery.holes) + ", together " + with_unit(number_text(delivery.holes_s, 3), "s");
  if (delivery.longest_hole_s.has_value()) {
    text += ", the longest " + with_unit(number_text(*delivery.longest_hole_s, 3), "s");
  }
  return text;
}

std::string length_text(const Table& samples) {
  return samples.time_s.size() < 2
             ? ""
             : " in " + spoken(samples.time_s.back() - samples.time_s.front());
}

std::string samples_text(const Run& run) {
  const Delivery& delivery = run.delivery;
  std::string text =
      count_text(delivery.samples) + length_text(run.samples) + ", " +
      (delivery.samples_lost == 0 ? "none lost" : count_text(delivery.samples_lost) + " lost");
  if (delivery.sample_gap_max_s.has_value()) {
    text += ", at most " + with_unit(number_text(*delivery.sample_gap_max_s, 3), "s") +
            " from one to the next";
  }
  return text + ", " + with_unit(number_text(run.plan.rate_hz), "Hz") + " asked";
}

/// A share that differs from second to second.
std::string two_digits(double share) {
  return with_unit(number_text(share * 100, 2), "%");
}

std::string others_text(const Table& samples) {
  const Column* others = samples.find(kOthersColumn);
  if (others == nullptr) {
    return "";
  }
  const Range range = range_of(others->values);
  return std::isnan(range.mean) ? ""
                                : two_digits(range.mean) + " of the processors' time, at most " +
                                      two_digits(range.largest);
}

}  // namespace

std::vector<Fact> delivery_facts(const Run& run) {
  const Delivery& delivery = run.delivery;
  std::vector<Fact> facts;
  const auto add = [&facts](const char* name, const std::string& text) {
    if (!text.empty()) {
      facts.push_back({.name = name, .text = text});
    }
  };
  add("Duty", duty_text(delivery));
  if (delivery.edges > 0) {
    add("Edges", count_text(delivery.edges));
  }
  add("Edges behind their plan", parts_text({{"median", delivery.edge_lateness_p50_us},
                                             {"99 % within", delivery.edge_lateness_p99_us},
                                             {"at most", delivery.edge_lateness_max_us}}));
  add("Last thread behind the first",
      parts_text({{"median", delivery.skew_p50_us}, {"99 % within", delivery.skew_p99_us}}));
  if (delivery.edges > 0 || delivery.holes > 0) {
    add("Holes in the load", holes_text(delivery));
  }
  if (delivery.samples > 0) {
    add("Samples", samples_text(run));
  }
  add("Load of other programs", others_text(run.samples));
  if (delivery.whole || delivery.throttled > 0) {
    add("Slowed down for heat",
        delivery.throttled == 0 ? "never" : count_text(delivery.throttled) + " times");
  }
  if (delivery.events_dropped > 0) {
    add("Events without room in the record", count_text(delivery.events_dropped));
  }
  if (delivery.record_lost > 0) {
    add("Lines of the record that the disk did not take", count_text(delivery.record_lost));
  }
  if (!delivery.whole && delivery.edges > 0) {
    add("Record of the engine", "it has no end: figures are of what there is");
  }
  return facts;
}

std::vector<std::string> alarms(const Run& run) {
  const RunInfo& info = run.info;
  const std::string reason = info.end_reason.empty() ? "." : ": " + info.end_reason;
  std::vector<std::string> said;
  switch (info.end) {
    case RunEnd::complete:
      break;
    case RunEnd::cut_short:
      said.push_back(
          "This run was cut short: its folder has no end. The answer is from what there "
          "is." +
          (info.end_reason.empty() ? "" : " " + info.end_reason));
      break;
    case RunEnd::interrupted:
      said.emplace_back("This run was interrupted before its end.");
      break;
    case RunEnd::limit:
      said.push_back(info.end_reason.empty() ? "This run was ended by a limit."
                                             : info.end_reason + ": this ended the run early.");
      break;
    case RunEnd::failed:
      said.push_back("This run failed" + reason);
      break;
  }
  if (run.delivery.wrong_results > 0) {
    said.push_back("The loads calculated " + count_text(run.delivery.wrong_results) +
                   " wrong results: this machine is not reliable.");
  }
  if (run.delivery.throttled > 0) {
    said.push_back("Processors were slowed down for heat " + count_text(run.delivery.throttled) +
                   " times: the load was less than what was asked for.");
  }
  return said;
}

}  // namespace lab
