#pragma once

#include <sys/types.h>

/// A change of the effective user id was refused. Nothing in the program catches it.
class UIDException {};

/// The identities that the process was started with. The program runs with the real user id and
/// takes the effective one back only around what needs it, and only for the thread that does it: no
/// other thread ever opens a file with the raised id. A thread that is started meanwhile would
/// inherit it, and has to lower itself.
/// Thread: any.
class UID {
 public:
  /// Records the real and effective user ids of now.
  UID();

  /// Whether the process was started with effective user id 0; stays true after relinquish().
  bool privileged() const;

  /// Takes the recorded effective user id back, for the calling thread alone. Throws UIDException
  /// if refused.
  void elevate() const;

  /// Runs on with the real user id: the calling thread after its elevate(), else the whole process.
  /// Throws UIDException if refused.
  void relinquish() const;

 private:
  uid_t real_;
  uid_t effective_;
};

/// Recorded before main() gives the privilege up. Inline, so that the settings whose defaults
/// depend on it are initialised after it.
inline UID uid;
