#pragma once

/// Puts the calling thread above every workload and service thread, so that starting and stopping
/// need not wait for the share of a processor that the kernel keeps for ordinary threads.
/// With less of a right it rises as far as it helps, or stays as it is. A thread that it starts
/// inherits its priority until it sets its own.
void take_control_priority();
