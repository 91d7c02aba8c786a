#pragma once

#include <cstddef>
#include <memory>

#include "engine/loads/buffer.h"
#include "engine/loads/memory_kernel.h"

/// What the machine can do, measured by plain loops that neither pause nor check: what the loads
/// are held against. Each loop runs for about `length_s`. Thread: any.
namespace probes {

/// Cycles per second, with the vector units at work: a chain of dependent additions, one a cycle.
double clock_hz(double length_s);

/// Vector multiply-adds per second of a loop of nothing else.
double multiply_adds_per_s(double length_s);

/// The STREAM copy kernel on two arrays of its own.
class Copy {
 public:
  /// Requires: `bytes` of each array are a multiple of 64 KiB, or are cut to one.
  explicit Copy(std::size_t bytes);

  /// Bytes read and written per second.
  double bytes_per_s(double length_s, loads::Stores stores);

 private:
  std::size_t words_;
  loads::Buffer from_;
  loads::Buffer to_;
  std::size_t position_ = 0;
};

}  // namespace probes
