#include "engine/loads/buffer.h"

#include <sys/mman.h>

#include <new>

namespace loads {
namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20U;

}  // namespace

Buffer::Buffer(std::size_t bytes)
    : bytes_((bytes + kLargePage - 1) / kLargePage * kLargePage),
      memory_(mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
  if (memory_ == MAP_FAILED) {
    throw std::bad_alloc();
  }
  // A wish: with small pages the load also measures the translation of addresses.
  madvise(memory_, bytes_, MADV_HUGEPAGE);
}

Buffer::~Buffer() {
  munmap(memory_, bytes_);
}

}  // namespace loads
