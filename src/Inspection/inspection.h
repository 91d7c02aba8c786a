#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// What is asked of a machine beyond the protocol of its drivers: where its keys come from, what
/// it lacks, and work on it that no run does. Each machine defines these functions; the program is
/// linked with one. Thread: the main one.
namespace inspection {

struct Key {
  std::string name;        ///< four characters
  std::string source;      ///< what stands behind it
  bool moves_fan = false;  ///< reading it would change the machine: it is measured on demand
};

/// Every key of the machine's controller.
std::vector<Key> keys();

/// How many P-states can be forced; 0 if the machine has none, or does not show them.
std::size_t pstates();

/// One line of what a run can do here, or cannot.
struct Finding {
  bool well = true;
  std::string text;
  std::string remedy;  ///< if it is not well: what to do
};

std::vector<Finding> check();

/// Where work on the machine shows its progress and its results.
struct Console {
  std::function<void(double fraction, const std::string& what)> progress;  ///< 0 to 1
  std::function<void(const std::string& line)> print;
  std::function<void(const std::string& line)> complain;  ///< what did not work, and the remedy
};

/// Measures the curve of every fan that can be controlled, keeps and prints them. Returns whether
/// all is well; nothing to measure is well.
bool calibrate(const Console& console);

/// Keeps the number that a user gives to a fan, "F0=DEVICE/fan2"; "F0=" takes it away. Returns
/// whether it is kept.
bool assign(const std::string& wish, const Console& console);

/// Gives back what a run left changed. Returns whether all is well; nothing left is well.
bool restore(const Console& console);

/// What is read of this machine as a text, of three readings a second apart: for its developers,
/// and for use_record(). Nothing, after a complaint, of a machine that is the same everywhere.
std::optional<std::string> record(const Console& console);

/// From here on, the machine is the one of a record. Returns what is wrong with the text; "" is
/// nothing. Requires: no machine was asked for anything.
std::string use_record(const std::string& text);

}  // namespace inspection
