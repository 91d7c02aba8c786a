#pragma once

/// How a run ends. SIGINT, and SIGALRM when a run time is set, are taken by one thread that does
/// nothing else; SIGTERM, SIGHUP, SIGQUIT and a lost reader (SIGPIPE) end the run as SIGINT does.

/// Starts to listen for the signals that end the run, and arms the timer of a set run time.
/// Throws a std::string that names what failed.
/// Requires: no other thread exists; those started later leave these signals to the listener.
void signals();

/// The shutdown path, for SIGINT or SIGALRM: ends every workload and service thread but the fan
/// thread, which sees the end at its next period, and gives back what a privileged run changed.
/// Returns at once while it is already under way. Thread: any but the workload and service
/// threads.
void sig_int_alrm(int signo);

/// Returns when a shutdown path that is under way has finished; no signal starts another one
/// after that.
void stop_listening();
