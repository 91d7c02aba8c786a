#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace lab {

/// A file that an option of the engine names.
struct NamedFile {
  std::size_t word = 0;   ///< which of the options' words its name is in
  std::size_t begin = 0;  ///< where in that word: behind "--profile=", or at the beginning
};

/// What the lab has to know of options that it hands to the engine as they stand.
struct EngineOptions {
  std::vector<std::string> keys;  ///< of -k
  std::vector<NamedFile> files;   ///< of --profile and --edges
  std::optional<double> time_s;   ///< of -t
  bool rate = false;              ///< -r is
};

/// Reads the engine's options. Throws PlanError for those that the lab uses itself (files,
/// steering) and for what is no option; values are judged by the engine.
EngineOptions read_engine_options(const std::vector<std::string>& arguments);

/// The engine's arguments for a run with these options, but for its files: with samples of `keys`,
/// and an end when this process ends. The options come last. Those of `keys` that they do not name
/// have to be the first of them, in front of those that they do name, in the same order.
std::vector<std::string> arguments_with(const std::vector<std::string>& options, double rate_hz,
                                        const std::vector<std::string>& keys);

}  // namespace lab
