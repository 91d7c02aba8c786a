#pragma once

#include <cstddef>
#include <cstdint>

namespace loads {

/// Memory of one load in one thread, in large pages where the kernel has them. Throws
/// std::bad_alloc if the kernel refuses it. The thread that first writes to a page places it.
class Buffer {
 public:
  /// At least `bytes`, which are 0.
  explicit Buffer(std::size_t bytes);
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  ~Buffer();

  std::uint64_t* words() const { return static_cast<std::uint64_t*>(memory_); }
  double* doubles() const { return static_cast<double*>(memory_); }

 private:
  std::size_t bytes_;
  void* memory_;
};

}  // namespace loads
