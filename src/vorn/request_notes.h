#pragma once

#include <string>
#include <vector>

#include "vorn/notes.h"

/// What was asked for, as far as it decides whether a run is what its user believes.
struct Request {
  std::string given{};  ///< the short letters of the options on the command line
  bool privileged = false;
  double frequency = 0.0;              ///< Hz; 0: no waveform
  double sinusoid = 0.0;               ///< Hz; 0: none
  double triangle = 0.0;               ///< Hz; 0: none
  unsigned rpm = 0;                    ///< 0: the fans are to be left alone
  unsigned binding = 0;                ///< a processor, if 'b' was given
  std::vector<std::string> deaf{};     ///< workloads of this run that do not follow the waveform
  std::vector<std::string> pausing{};  ///< workloads to choose from that do
};

/// The run settings as a request. Requires: they are whole, and every workload is known.
Request request_of_settings();

/// What of the request has no effect, or another than its user may believe.
Notes notes_on_request(const Request& request);

/// The option `letter` does not take `value`.
Note note_on_value(char letter, const std::string& long_name, const std::string& value);

/// A word on the command line that no option takes.
Note note_on_word(const std::string& word);
