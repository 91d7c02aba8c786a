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

}  // namespace lab
