#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lab/data/known_stages.h"

namespace lab {

/// From an instant on, in seconds since its phase began, a duty.
struct ProfilePoint {
  double time_s = 0;
  double duty = 0;
};

/// One of several sinusoids that a duty is the sum of.
struct Sine {
  double frequency_hz = 0;
  double amplitude = 0;  ///< of the duty, to either side
  double degrees = 0;    ///< of the cosine when the phase begins
};

/// So many of them the engine takes at once.
inline constexpr std::size_t kMostSines = 16;

/// How the duty of the load goes during a phase.
struct Drive {
  enum class Shape { constant, sinusoid, triangle, profile, sines };
  Shape shape = Shape::constant;
  double duty = 0;          ///< 0 to 1: the duty; the least one of a shape; the mean of sines
  double depth = 0;         ///< 0 to 1: how far the duty of a sinusoid or triangle rises from there
  double frequency_hz = 0;  ///< of a sinusoid or a triangle
  std::vector<ProfilePoint> profile{};  ///< the last point is its end
  std::vector<Sine> sines{};
};

/// A setting of the machine that a run forces, or leaves to the machine.
struct Fans {
  enum class Hold { automatic, maximum, speed };
  Hold hold = Hold::automatic;
  int rpm = 0;  ///< with `speed`; 0, in a phase alone: stopped
};

/// One stretch of a run.
struct Phase {
  std::string name;
  Drive drive;
  double duration_s = 0;       ///< how long; with `until_settled`, how long at most
  bool until_settled = false;  ///< ends as soon as every temperature has settled
  bool until_stopped = false;  ///< ends when somebody asks to; the last phase alone
  double drift = 0.05;         ///< settled: no more than this part of its change is still to come
  std::optional<std::string> load;  ///< instead of the plan's, as are the following
  std::optional<Fans> fans;
  std::string fan;            ///< target key of the one fan that `fans` is for; empty: all of them
  std::optional<int> pstate;  ///< kAutomaticPState: left to the machine, whatever the plan has
};

/// Stands for a P-state that the machine chooses, in a phase of a plan that forces one.
inline constexpr int kAutomaticPState = -1;

/// No plan names a higher one, whatever the machine has.
inline constexpr int kLastPState = 255;

/// What is to be done to a machine, and what to look at meanwhile. A plain value: plan_file.h reads
/// and writes it.
struct Plan {
  std::string question;           ///< "step", "run", ...: who made it, and who analyses the run
  std::string load = "bmix";      ///< one of the engine's that follow a waveform
  int threads = 0;                ///< 0: one for each processor
  double carrier_hz = 20;         ///< of a duty between 0 and 1
  double rate_hz = 10;            ///< of the samples
  std::vector<std::string> keys;  ///< empty: every temperature, power and fan speed of the machine
  std::string power;              ///< the key of the power that heats; empty: found by its name
  bool structure = false;         ///< of `step` and `fit`: the ladder is asked for as well
  Fans fans;
  std::optional<int> pstate;             ///< nothing: left to the machine
  std::map<std::string, double> limits;  ///< the run ends when a key shows more
  std::optional<int> seed;               ///< of the order into which the points of a sweep were put
  std::optional<double> error;           ///< part of a value that the error of a point may be
  std::vector<Phase> phases;
  std::vector<std::string> engine_options;  ///< of `run`: given to the engine as they stand
  KnownStages predicted;       ///< of `bode`: whose curve is to stand beside the points
  std::string predicted_from;  ///< whence those are, in a word or two
};

/// What is held during a phase of the plan: its own, or what the plan has for all.
Fans fans_of(const Plan& plan, const Phase& phase);
std::optional<int> pstate_of(const Plan& plan, const Phase& phase);  ///< nothing: the machine's

/// How long a phase "until stopped" lasts if nobody stops it.
inline constexpr double kLongestPhase_s = 365.0 * 86400;

/// How long a plan takes, if nothing ends it early: phases "until settled" as long as they may.
double longest_s(const Plan& plan);

/// Throws PlanError if an engine could not play the plan: a phase shorter than two periods of the
/// carrier, a shape that is faster than half of it, or one that leaves 0 to 1; and if a phase sets
/// one fan while the others are left to the machine.
void check(const Plan& plan);

}  // namespace lab
