#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "Workload/workload_params.h"

class WorkloadFactory;

/// The run settings: written by parse_options() before any thread exists, then only read.
///
/// Those that are objects are never destroyed: a failed start ends main() while threads that
/// already run may still read them.

constexpr std::uint32_t kNotGiven = 0xFFFFFFFF;      ///< default of `cores` and `binding`
constexpr std::uint32_t kMaximumSpeed = 0xFFFFFFFF;  ///< `rpm`: each fan's own maximum

extern bool noisy;                    ///< print the summary before starting
extern bool monitor;                  ///< sample keys into `output`
extern bool invert;                   ///< start the waveform in its off phase
extern double monitor_rate;           ///< samples per second
extern std::string& output;           ///< sample file; "-" is standard output
extern std::uint32_t cores;           ///< workload threads
extern std::uint32_t binding;         ///< the processor named for every workload thread
extern double frequency;              ///< PWM, Hz; 0: no timing thread
extern double fanfrequency;           ///< fan wave, Hz; 0: no fan thread
extern std::list<std::string>& keys;  ///< controller keys to sample, in column order
extern std::list<std::string>& fans;  ///< fans to configure, by target-speed key
extern std::uint32_t rpm;             ///< fan speed; 0: leave the fans alone
extern std::int32_t trial_time;       ///< run length, s; 0: until interrupted
/// Added to `trial_time`, in us: what whole seconds do not hold. Not an option of vorn's.
extern std::int64_t additional_time_us;
/// Whether the program has threads of its own that must be able to interrupt the load. Not an
/// option of vorn's.
extern bool threads_beside;
extern std::int32_t pstate;                  ///< P-state to force; -1: leave it alone
extern std::string& given_options;           ///< letters of the options on the command line
extern std::vector<std::string>& workloads;  ///< workload names; the last serves all others
extern double sinusoid;                      ///< envelope, Hz; 0: none
extern double triangle;                      ///< envelope, Hz; 0: none

/// Workload factories by name; filled before the command line is read.
extern std::map<std::string, WorkloadFactory*>& factories;

/// The one block shared with the workloads.
extern workload_params params;

bool using_timing_thread();
bool using_fan_thread();
bool using_monitor_thread();
bool using_inverted_pwm();
/// Whether the run has a set length.
bool using_timer();
/// Whether the process was started with effective user id 0.
bool using_privileged_operations();
bool setting_pstate();
bool setting_fans();

int monitor_thread_priority();
int timing_thread_priority();
int fan_thread_priority();

/// Defaults of `rpm` and `pstate`: a run started by root drives every fan at its maximum and
/// forces P-state 0 unless told otherwise; any other leaves both alone.
std::uint32_t default_rpm(bool privileged);
std::int32_t default_pstate(bool privileged);
