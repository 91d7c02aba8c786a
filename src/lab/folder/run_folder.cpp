#include "lab/folder/run_folder.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <system_error>

#include "lab/folder/folder_error.h"
#include "lab/folder/recovery.h"
#include "lab/folder/run_info_file.h"
#include "lab/folder/samples_file.h"
#include "lab/folder/scheduler_file.h"
#include "lab/folder/whole_file.h"
#include "lab/plan/plan_error.h"
#include "lab/plan/plan_file.h"

namespace lab {

namespace {

namespace fs = std::filesystem;

constexpr int kResultVersion = 1;

void name_units(Table& samples, const RunInfo& info) {
  for (Column& column : samples.columns) {
    for (const KeyInfo& key : info.keys) {
      if (key.name == column.name) {
        column.unit = key.unit;
        column.source = key.source;
      }
    }
  }
}

/// Whether a result.json is that of a comparison.
bool is_comparison(const fs::path& result) {
  std::error_code error;
  if (!fs::is_regular_file(result, error)) {
    return false;
  }
  const auto figures = nlohmann::json::parse(read_whole(result), nullptr,
                                             /*allow_exceptions=*/false);
  const auto question = figures.is_object() ? figures.find("question") : figures.end();
  return question != figures.end() && *question == "compare";
}

}  // namespace

RunFolder RunFolder::create(const fs::path& path, const char* first) {
  std::error_code error;
  fs::create_directories(path, error);
  if (error) {
    throw FolderError(path.string() + ": " + error.message() + ": choose another place with --out");
  }
  if (!fs::is_empty(path, error) || error) {
    throw FolderError(path.string() +
                      ": it is there already, with something in it: choose another with --out");
  }
  // Of two that come at the same moment, one makes the file.
  const int file = open((path / first).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (file < 0) {
    throw FolderError(path.string() + ": " + std::strerror(errno) +
                      ": choose another place with --out");
  }
  close(file);
  return RunFolder(path);
}

fs::path RunFolder::stimulus(std::size_t start) const {
  return path_ / (start == 0 ? "stimulus" : "stimulus-" + std::to_string(start + 1));
}

fs::path RunFolder::profile(std::size_t start) const {
  return path_ / (start == 0 ? "profile" : "profile-" + std::to_string(start + 1));
}

fs::path RunFolder::engine_samples(std::size_t start) const {
  return path_ /
         (start == 0 ? "samples.engine" : "samples-" + std::to_string(start + 1) + ".engine");
}

void RunFolder::write_plan(const Plan& plan, std::string_view program) const {
  write_whole(this->plan(), plan_text(plan, program));
}

void RunFolder::write_info(const RunInfo& run_info) const {
  write_whole(info(), run_info_text(run_info));
}

void RunFolder::write_scheduler(const SchedulerTrace& trace) const {
  write_whole(scheduler(), scheduler_text(trace));
}

void RunFolder::write_result(const Run& run, const Answer& answer) const {
  write_whole(result(), result_text(run, answer));
}

void RunFolder::discard() const {
  std::error_code error;  // what cannot be removed stays
  for (const fs::path& file :
       {plan(), info(), samples(), engine_samples(0), stimulus(0), profile(0)}) {
    fs::remove(file, error);
  }
  fs::remove(path_, error);
}

Run RunFolder::read() const {
  std::error_code error;
  if (!fs::exists(info(), error)) {
    if (!error && is_comparison(result())) {
      throw FolderError(path_.string() + ": it is the folder of a comparison, not of a run: its " +
                        "report is " + report().string() +
                        ", pictures are made of the folders that were compared");
    }
    throw FolderError(
        path_.string() + ": " +
        (error ? error.message() : "no run.json in it: it is not the folder of a run"));
  }
  Run run;
  run.info = parse_run_info(read_whole(info()), info().string());
  try {
    run.plan = read_plan(plan());
  } catch (const PlanError& damage) {
    throw FolderError(damage.what());  // whoever reads a run did not write its plan
  }
  // A run that was killed may have come no further than the engine's own samples.
  if (!fs::exists(samples()) && run.info.end != RunEnd::cut_short) {
    throw FolderError(samples().string() + " is missing: without its samples a run has no answer");
  }
  if (fs::exists(samples())) {
    run.samples = parse_samples(read_whole(samples()), samples().string());
  }
  if (fs::exists(scheduler())) {
    run.scheduler = parse_scheduler(read_whole(scheduler()));
  }
  read_delivery(*this, run);
  recover_rows(*this, run);
  // Each sample that was taken has a line in the record.
  run.delivery.samples_lost = std::max<std::int64_t>(
      0, run.delivery.samples - static_cast<std::int64_t>(run.samples.time_s.size()));
  name_units(run.samples, run.info);
  return run;
}

std::vector<std::string> sample_columns(const std::vector<KeyInfo>& keys) {
  std::vector<std::string> names{std::string(kPhaseColumn), std::string(kAskedColumn),
                                 std::string(kDeliveredColumn), std::string(kOthersColumn)};
  std::transform(keys.begin(), keys.end(), std::back_inserter(names),
                 [](const KeyInfo& key) { return key.name; });
  return names;
}

std::string result_text(const Run& run, const Answer& answer) {
  nlohmann::ordered_json json = {
      {"version", kResultVersion}, {"question", run.info.question}, {"end", text(run.info.end)},
      {"decided", answer.decided}, {"answer", answer.sentences},    {"warnings", answer.warnings},
  };
  if (answer.figures.is_object()) {
    json.update(answer.figures);
  }
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace lab
