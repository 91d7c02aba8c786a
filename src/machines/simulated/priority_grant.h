#pragma once

namespace simulated {

/// What the simulated machine makes of the kernel's answer (0 or an errno value) to a request for
/// a fixed priority: a refusal for want of rights (EPERM) is granted all the same, the thread
/// keeping its ordinary priority; everything else stands. The first grant says so in one line on
/// standard error, the later ones are silent. Thread: any.
int granted(int kernel_answer);

}  // namespace simulated
