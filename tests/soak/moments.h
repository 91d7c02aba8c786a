#pragma once

#include <sys/types.h>

#include <random>
#include <string>

#include "program/vorn_program.h"

/// How often each shape of run is ended: enough for every day, or what VORN_SOAK_RUNS says.
int runs_of_each_shape();

/// Lets `running` go on until a random moment: while it starts, or else up to `latest` microseconds
/// after it has started, however long that took. Returns the moment, for people.
std::string go_on(const program::Running& running, bool while_starting, std::mt19937& random,
                  useconds_t latest);
