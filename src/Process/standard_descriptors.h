#pragma once

namespace process {

/// Takes the descriptors 0, 1 and 2 if they were closed when the program was started. Otherwise the
/// first files that the program opens would get these numbers, and its diagnostics would be written
/// into them. What is taken leads nowhere: reading from 0, and writing to 1 or 2, fails with EBADF
/// as if it were closed. The first call of every main(). Thread: none exists beside the caller.
void hold_standard_descriptors() noexcept;

}  // namespace process
