#pragma once

namespace process {

/// Has the kernel end the timed waits of the calling thread as soon as their time is up. By default
/// it may group them with others up to 50 us later, and before Linux 6.12 it does so even with
/// those of threads of fixed priority. Inherited by the threads that this one starts. Thread: any.
void wake_promptly() noexcept;

}  // namespace process
