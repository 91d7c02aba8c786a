#include "lab/commands/run_end.h"

#include <string_view>

namespace lab {

namespace {

/// Exit statuses of the engine, as its man page has them.
constexpr int kLimitReached = 20;
constexpr int kSamplesLost = 21;
constexpr int kWrongResult = 22;
constexpr int kStartMissed = 23;
constexpr int kRecordNotWhole = 24;

}  // namespace

RunEnd end_of(int status, bool interrupted, bool whole) {
  if (status == kLimitReached) {
    return RunEnd::limit;
  }
  if (interrupted) {
    return RunEnd::interrupted;
  }
  return whole && (status == 0 || shortcoming(status) != nullptr) ? RunEnd::complete
                                                                  : RunEnd::failed;
}

const char* shortcoming(int status) {
  switch (status) {
    case kSamplesLost:
      return "more than one sample in twenty was left out, or the sample file lost lines";
    case kWrongResult:
      return "a load computed a wrong result: the hardware makes errors";
    case kStartMissed:
      return "the load did not begin when it was to";
    case kRecordNotWhole:
      return "the record of the stimulus is not whole";
    default:
      return nullptr;
  }
}

std::string limit_reason(const std::string& complaint) {
  constexpr std::string_view kLimit = "limit ";
  constexpr std::string_view kKey = ": the key ";
  const std::size_t sign = complaint.find('=');
  const std::size_t end = complaint.find(kKey);
  if (!complaint.starts_with(kLimit) || sign == std::string::npos || end == std::string::npos ||
      sign > end) {
    return "";
  }
  return complaint.substr(kLimit.size(), sign - kLimit.size()) + " " +
         complaint.substr(end + kKey.size()) + ", and its limit is " +
         complaint.substr(sign + 1, end - sign - 1);
}

}  // namespace lab
