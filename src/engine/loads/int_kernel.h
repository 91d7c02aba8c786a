#pragma once

#include <memory>

#include "engine/loads/kernel.h"

namespace loads {

/// Scalar integer work: multiplications, additions, shifts, rotations, in independent chains and
/// without a branch that could be missed. Checked against the same chains computed one by one.
std::unique_ptr<Kernel> make_int_kernel();

}  // namespace loads
