#include "engine/loads/vector_target.h"

// Highway compiles this file once for every instruction set, through foreach_target.h.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/loads/vector_target.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace loads::HWY_NAMESPACE {
namespace {

const char* target_name() {
  return hwy::TargetName(HWY_TARGET);
}

std::size_t bytes() {
  const hwy::HWY_NAMESPACE::ScalableTag<unsigned char> d;
  return hwy::HWY_NAMESPACE::Lanes(d);
}

}  // namespace
}  // namespace loads::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace loads {
namespace {

HWY_EXPORT(target_name);
HWY_EXPORT(bytes);

}  // namespace

std::string vector_target() {
  return HWY_DYNAMIC_DISPATCH(target_name)();
}

std::size_t vector_bytes() {
  return HWY_DYNAMIC_DISPATCH(bytes)();
}

}  // namespace loads

#endif  // HWY_ONCE
