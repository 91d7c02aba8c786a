#pragma once

#include <list>
#include <string>

#include "vorn/given_back.h"

/// What is done to every configured fan at once. Each call opens a connection of its own; a
/// failure is printed on standard error, and leaves the fans behind the failing one untouched.
/// Thread: any; one batch at a time.

/// Forces every fan to `speed` in RPM, or to its own maximum (kMaximumSpeed). Returns 0, or -1.
int set_fans(const std::list<std::string>& names, unsigned int speed);

/// As set_fans(), unless the run has ended: then nothing, and 0. For the fan wave, whose steps must
/// not follow the giving back of the fans.
int set_fans_in_run(const std::list<std::string>& names, unsigned int speed);

/// Gives every fan back to automatic control. Prints nothing.
GivenBack give_back_fans(const std::list<std::string>& names);

/// The same, and says so. Returns 0, or -1.
int restore_fans(const std::list<std::string>& names);
