#include "lab/folder/run_info.h"

namespace lab {

const char* text(RunEnd end) {
  switch (end) {
    case RunEnd::cut_short:
      return "cut short";
    case RunEnd::complete:
      return "complete";
    case RunEnd::interrupted:
      return "interrupted";
    case RunEnd::limit:
      return "limit reached";
    case RunEnd::failed:
      return "failed";
  }
  return "";
}

std::string machine_name(const RunInfo& info) {
  return info.simulated ? "the simulated machine" : info.host;
}

std::string run_title(const RunInfo& info) {
  const std::string question = info.question.empty() ? "run" : info.question;
  if (!info.subject.empty()) {
    return question + " of " + info.subject;
  }
  const std::string machine = machine_name(info);
  return machine.empty() ? question : question + " on " + machine;
}

}  // namespace lab
