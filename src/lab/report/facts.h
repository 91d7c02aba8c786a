#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "lab/folder/run.h"

namespace lab {

/// Something known about a run, in words.
struct Fact {
  std::string name;
  std::string text;
};

/// What the fans of the samples showed during a phase of the plan, or during all of the run: "F0Ac
/// 1998 to 2003 RPM". Empty if none was read.
std::string fan_speeds(const Table& samples, std::optional<std::size_t> phase);

/// What the run was made on, and with. What is not known is left out, here and below.
std::vector<Fact> machine_facts(const Run& run);

/// How load and samples were delivered, and what disturbed them.
std::vector<Fact> delivery_facts(const Run& run);

/// What a reader must see before the answer: that the run did not end as planned, and results that
/// show that the machine calculates wrong. Empty for a run that went well.
std::vector<std::string> alarms(const Run& run);

/// A phase, as planned and as it was.
struct PhaseFacts {
  std::string name;
  std::string load;
  std::string planned;
  std::string lasted;      ///< empty: it did not begin, or its instants are not known
  std::string fans;        ///< how they were held
  std::string fan_speeds;  ///< what they showed meanwhile; empty: no fan was sampled
  std::string pstate;
};
std::vector<PhaseFacts> phase_facts(const Run& run);

/// A column of the samples, and what it ranged over.
struct ColumnFacts {
  std::string name;
  std::string unit;
  std::string source;
  std::string least;
  std::string mean;
  std::string largest;
};
std::vector<ColumnFacts> column_facts(const Run& run);

}  // namespace lab
