#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/exit_status.h"
#include "engine/options.h"

namespace engine {

/// Why a run is not started, although its command line is valid.
struct Refusal {
  ExitStatus status;
  std::string text;
};

/// A fan or P-state was asked for, and only root may change them. Reads vorn's settings.
std::optional<Refusal> refuse_rights(bool privileged);

/// Fixed priorities that this process may not have, tried in a thread of their own: a workload
/// thread that is refused its priority in the run could only abort it. Starts and ends a thread.
std::optional<Refusal> refuse_priority();

/// A load does not follow what switches it. `deaf`: the loads of this run that do not. Pure.
std::optional<Refusal> refuse_deaf_loads(const Request& request, bool waveform,
                                         const std::vector<std::string>& deaf);

/// An agreed start that cannot be met. `now_ns`: the wall clock. Pure.
std::optional<Refusal> refuse_start(const Request& request, std::int64_t now_ns, bool sampling);

/// A processor that this process may not run on. Pure.
std::optional<Refusal> refuse_binding(const Request& request, std::optional<unsigned> binding,
                                      const std::vector<unsigned>& allowed);

/// More bound threads than processors: at fixed priority one keeps another from its turn for good.
/// All on one processor, which was named, are as the user wants them. Pure.
std::optional<Refusal> refuse_crowding(const Request& request, std::optional<unsigned> binding,
                                       std::size_t threads, std::size_t processors);

/// A file that cannot be written. It is tried, which creates it if it is not there, but nothing of
/// it is lost. `option`: who named it. A pipe is not opened: its reader would see it closed again.
std::optional<Refusal> refuse_file(const std::string& option, const std::string& path);

/// A file that could not be opened for writing, with `error` of errno; also a pipe that nobody
/// reads. Pure.
Refusal file_not_opened(const std::string& option, const std::string& path, int error);

/// A file of the run, as an option names it.
struct NamedFile {
  std::string option;
  std::string path;  ///< "-": standard output
  bool written;      ///< or read
};

/// One file, by whatever names, that is to be written for one purpose and has another: the second
/// would destroy what the first holds. Devices and pipes hold nothing.
std::optional<Refusal> refuse_shared_file(const std::vector<NamedFile>& files);

/// A key that is to be sampled or limited, and cannot be read. Reads each once.
std::optional<Refusal> refuse_keys(const Request& request);

/// The files of this run. Reads vorn's settings too.
std::vector<NamedFile> named_files(const Request& request);

/// A fan that the machine does not have. Asks the machine, and changes nothing. Reads vorn's
/// settings.
std::optional<Refusal> refuse_fans();

/// A P-state that the machine does not have; it has `count`. Reads vorn's settings.
std::optional<Refusal> refuse_pstate(std::size_t count);

/// Whether the run's waveform switches the load, or is steady once it has begun.
bool is_switched(const Request& request);

/// The loads of this run that do not follow the waveform, each once. Reads vorn's settings.
std::vector<std::string> deaf_loads();

}  // namespace engine
