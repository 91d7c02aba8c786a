#pragma once

/// Applies the settings that need the privilege: fans, then P-state. Returns 0, or -1 after
/// printing what could not be set; the privilege is then still raised. Does nothing once
/// the run has ended. Throws UIDException.
int setup_privileged();

/// Gives back the P-state, then the fans, and says so when both are given back. Waits for a set-up
/// that is under way.
/// Throws UIDException. Thread: any.
void teardown_privileged();
