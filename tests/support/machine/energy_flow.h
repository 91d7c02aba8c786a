#pragma once

#include <cstdlib>
#include <string>

#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"

/// Makes every energy counter of a machine count, at `power_w`, from what its text says. A counter
/// whose text is no number stays as it is. Both outlive the last read.
inline void let_energy_flow(MemoryTree& tree, const TestSurroundings& world, double power_w) {
  const std::int64_t start_ns = world.now_ns;
  for (const auto& [path, text] : tree.snapshot()) {
    const bool counts = path.ends_with("energy_uj") || path.find("/energy") != std::string::npos;
    if (!counts || path.ends_with("_label")) {
      continue;
    }
    tree.on_read(path, [&world, start_ns, power_w](const std::string& stored) {
      char* end = nullptr;
      const long long first_uj = std::strtoll(stored.c_str(), &end, 10);
      if (end == stored.c_str()) {
        return MemoryTree::Answer{stored, 0};
      }
      const double gained_uj = static_cast<double>(world.now_ns - start_ns) * power_w * 1e-3;
      return MemoryTree::Answer{std::to_string(first_uj + static_cast<long long>(gained_uj)), 0};
    });
  }
}
