#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/limit.h"
#include "vorn/option_extension.h"

namespace engine {

/// What the engine was asked for beyond vorn's settings. Written by Options, then only read.
struct Request {
  std::optional<double> duty;             ///< constant, 0 to 1
  std::optional<std::string> profile;     ///< file of duties
  std::optional<std::string> edges;       ///< file of intervals
  bool steer = false;                     ///< follow what standard input says
  bool attached = false;                  ///< end with standard input
  bool loop = false;                      ///< play the file again and again
  std::optional<double> depth;            ///< of a shape: between its least and its greatest duty
  std::optional<double> offset;           ///< of a shape: its least duty
  std::optional<std::int64_t> at_ns;      ///< agreed start, ns of the wall clock since 1970
  std::optional<std::string> record;      ///< file
  bool pin = false;                       ///< bind each workload thread to its processor
  std::vector<Limit> limits;              ///< in the order given
  bool leave_pstate = false;              ///< force none, although the run is root's
  bool header = false;                    ///< at the head of the sample file
  std::optional<std::int64_t> length_ns;  ///< run time, if vorn's whole seconds do not hold it
};

/// The engine's options, and vorn's run time with fractions and units. What it refuses it names on
/// standard error with the value and what is taken instead. Thread: the main one.
class Options : public OptionExtension {
 public:
  explicit Options(Request& request) : request_(request) {}

  std::vector<option> long_options() const override;
  Reading read(int code, const char* argument) override;

 private:
  Reading read_own(int code, const char* argument);
  Reading read_time(const char* argument);

  Request& request_;
};

/// Prints the help text: vorn's and the engine's.
void usage(const char* program_name);

}  // namespace engine
