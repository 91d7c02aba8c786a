#pragma once

#include <cstdint>

#include "vorn/given_back.h"

class PlatformPlugin;

/// The one connection to the power plugin: null until a P-state is forced, and again after it was
/// given back. Used by one thread at a time.
extern PlatformPlugin* platform;

/// Forces the processor into `pstate`; -1 leaves it alone. Returns 0, or -1 after printing why.
/// Requires: effective user id 0.
int set_pstate(std::int32_t pstate);

/// Gives power management back; nothing if no P-state was forced. Prints nothing.
/// Requires: effective user id 0.
GivenBack give_back_pstate();

/// The same, and says so. Returns 0, or -1 after printing why.
int restore_pstate();
