#pragma once

#include <cstddef>
#include <memory>
#include <new>

namespace loads {

/// The alignment of everything that vectors are loaded from: that of the longest of them.
inline constexpr std::size_t kAlignment = 256;

struct AlignedDelete {
  void operator()(double* values) const {
    ::operator delete[](values, std::align_val_t{kAlignment});
  }
};

/// Values of the vectors' alignment.
using AlignedDoubles = std::unique_ptr<double[], AlignedDelete>;

inline AlignedDoubles make_aligned_doubles(std::size_t count) {
  return AlignedDoubles(new (std::align_val_t{kAlignment}) double[count]());
}

}  // namespace loads
