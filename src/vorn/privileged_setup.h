#pragma once

#include <cstdint>
#include <list>
#include <string>

/// What needs the privilege to be set.
enum class PrivilegedSetting { fans, pstate };

/// Applies the settings that need the privilege: fans, then P-state. Returns 0, or -1 after
/// printing what could not be set, which `failed`, if there is one, is then told; the privilege is
/// still raised. Does nothing once the run has ended. Throws UIDException.
int setup_privileged(PrivilegedSetting* failed = nullptr);

/// Forces other speeds, or another P-state, than the set-up did: with the privilege, for the
/// calling thread alone. Does nothing once the run has ended. Returns 0, or -1 after printing why.
/// Requires: the run sets fans, and these among them; the run sets a P-state. Throws UIDException.
/// Thread: any.
int change_fans(const std::list<std::string>& names, unsigned int speed);
int change_pstate(std::int32_t number);

/// Gives back the P-state, then the fans, and says so when both are given back and the privilege is
/// given up. Waits for a set-up that is under way, and for a reader of what is said for a second.
/// Throws UIDException. Thread: any.
void teardown_privileged();
