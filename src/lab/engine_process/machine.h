#pragma once

namespace lab {

/// The machine that this program asks its questions of, and the programs that reach it. Each
/// program of the lab is linked with one file that defines it.
struct Machine {
  const char* program;  ///< this one's name
  const char* engine;   ///< names of the others
  const char* keys;
  bool simulated;
};

const Machine& machine();

}  // namespace lab
