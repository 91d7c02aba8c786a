#pragma once

namespace lab {

/// Why the program ends.
enum ExitStatus : int {
  kAnswered = 0,          ///< asked and answered
  kNotDecided = 1,        ///< the data cannot answer the question; the report says why
  kWrongCommandLine = 2,  ///< or a plan that cannot be carried out as it is written
  kNotRun = 3,            ///< the machine or the engine does not give what is needed
  kNotWritten = 4,        ///< a folder or file cannot be made, read or written, or lost lines
  kCutShort = 5,          ///< the run ended before its plan did; what there is was analysed
  kBetter = 6,         ///< of `compare`: what is better if it is lower is lower; 0: no difference
  kWorse = 7,          ///< of `compare`: it is higher
  kDifferent = 8,      ///< of `compare`: neither better nor worse, but not the same
  kInterrupted = 130,  ///< by Ctrl-C; what there is was analysed
};

}  // namespace lab
