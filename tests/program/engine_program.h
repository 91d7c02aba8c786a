#pragma once

#include <string>
#include <utility>
#include <vector>

#include "program/vorn_program.h"
#include "support/record_reader.h"

/// The built engine with `arguments`, on the simulated machine, for an ordinary user who has the
/// right to a fixed priority.
inline program::Command engine(std::vector<std::string> arguments,
                               program::As as = program::As::kUserWithFixedPriority) {
  program::Command command = vorn(std::move(arguments), as);
  command.path = VORN_ENGINE_SIM_PROGRAM;
  command.called = "vorn-engine-sim";
  return command;
}

/// Status and reason that a record ends with.
inline std::string reason_of(const std::string& record) {
  const auto ends = RecordReader(record).of("end");
  return ends.size() == 1 ? ends[0][2] + ", " + ends[0][3] : "no end";
}
