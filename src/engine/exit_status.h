#pragma once

#include <atomic>

namespace engine {

/// How the program ends, for the script that started it. Those below 20 are decided before
/// anything is started or changed.
enum class ExitStatus : int {
  kEnded = 0,             ///< as asked: run time, end of the waveform, or a signal
  kFileRefused = 10,      ///< a sample file or record that cannot be written, or has another use
  kKeyUnknown = 11,       ///< a key or fan that the machine does not have, or cannot read
  kRightMissing = 12,     ///< a priority, fan, P-state or processor that this process may not have
  kWaveformIgnored = 13,  ///< a waveform or an agreed start over a load that ignores it
  kTooLate = 14,          ///< an agreed start in the past, or before the run can be ready
  kLimitReached = 20,     ///< a key passed its limit, or could not be read any more
  kSamplingFailed = 21,   ///< sampling ended, or lines were lost
  kWrongResult = 22,      ///< a load computed a wrong result
  kStartMissed = 23,      ///< waveform or loads did not begin in time, or a thread was not bound
  kRecordFailed = 24,     ///< the record could not be written to its end
  kNotStarted = 255,      ///< wrong command line, or a start that failed, as vorn
};

/// What went wrong in a run: of several, the gravest is the program's status. A wrong result is
/// said before a limit, a limit before a start that was missed, and that before samples and
/// record that are not whole. Thread: any.
class Verdict {
 public:
  /// `status` is one of a run, 20 to 24, or kEnded, which changes nothing.
  void add(ExitStatus status);

  ExitStatus status() const;

  /// For another run in the same process.
  void clear() { gravity_ = 0; }

 private:
  std::atomic<int> gravity_{0};
};

/// The verdict on the one run of the program.
inline constinit Verdict verdict;

}  // namespace engine
