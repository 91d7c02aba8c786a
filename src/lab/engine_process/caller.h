#pragma once

namespace lab {

/// Whom the program works for. Called through sudo, that is the user who called it: everything is
/// done, and every file is made, with that user's rights. Root is kept for one thing, to start the
/// engine. Thread: the only one.

/// The first thing that the program does. Throws EngineError if the user's rights cannot be taken.
void become_caller();

/// Whether the engine can be started with root's rights.
bool may_start_as_root();

/// Takes root back for good, in a child that is about to become the engine. Returns whether that
/// worked. Async-signal-safe.
bool become_root() noexcept;

}  // namespace lab
