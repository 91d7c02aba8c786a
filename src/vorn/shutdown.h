#pragma once

/// The shutdown path, for SIGINT or SIGALRM: ends every workload and service thread but the fan
/// thread, which sees the end at its next period, and gives back what a privileged run changed.
/// Returns at once while it is already under way. Not for a signal handler's context.
/// Thread: any but the workload and service threads.
void sig_int_alrm(int signo);
