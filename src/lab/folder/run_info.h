#pragma once

#include <string>
#include <vector>

namespace lab {

/// A key that was sampled.
struct KeyInfo {
  std::string name;
  std::string unit;
  std::string source;
};

/// A phase that has begun, and what the machine was asked to hold meanwhile.
struct PhaseInfo {
  std::string name;
  int engine_start = 0;  ///< which of the engine's starts plays it, from 0
  std::string fans;      ///< in words, such as "held at their maximum"
  std::string pstate;
};

/// How a run ended.
enum class RunEnd {
  cut_short,    ///< killed, or still going on: what a folder says until its run has ended
  complete,     ///< as planned
  interrupted,  ///< by the user
  limit,        ///< a key showed more than its limit
  failed,       ///< the engine could not go on
};

/// The text of run.json for it, such as "cut short".
const char* text(RunEnd end);

/// run.json: everything about a run that is neither asked for (plan) nor measured (samples).
struct RunInfo {
  std::string question;
  std::string subject;  ///< what was analysed, if no run was made here: a file, or other runs
  RunEnd end = RunEnd::cut_short;
  std::string end_reason;  ///< the engine's words for it; may be empty
  int engine_status = -1;  ///< exit status of the engine; -1: it has none
  std::string host;
  std::string system;     ///< kernel, release and kind of machine
  std::string processor;  ///< its model
  int processors = 0;
  bool simulated = false;
  std::string lab_version;
  std::string engine_version;
  std::vector<std::string> command;                       ///< of the user
  std::vector<std::vector<std::string>> engine_commands;  ///< as started, in their order
  std::vector<KeyInfo> keys;
  std::string begun;              ///< wall clock, RFC 3339 with the offset
  std::string ended;              ///< empty until then
  std::string fans;               ///< how the fans were held, in words
  std::string pstate;             ///< likewise
  std::vector<PhaseInfo> phases;  ///< of the plan's, those that have begun
  std::vector<std::string> warnings;
  std::vector<std::string> notes;  ///< how a table was read, in sentences that are no warnings
};

/// What the machine of a run is called in a title: its host's name, or "the simulated machine".
std::string machine_name(const RunInfo& info);

/// The title of what a run found: the question, and of what or on which machine.
std::string run_title(const RunInfo& info);

}  // namespace lab
