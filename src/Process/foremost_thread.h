#pragma once

namespace process {

/// Puts the calling thread in front of every other thread of this process, as far as its rights go.
/// For a thread that is about to end the process and must not be held up between its last words
/// and its end: a load of fixed priority on every processor would hold it up for good.
///
/// With the right to it, takes the highest fixed priority. With less, takes the highest that its
/// limit allows, and makes every other thread an ordinary one. Does not throw. Thread: any.
void become_foremost_thread() noexcept;

}  // namespace process
