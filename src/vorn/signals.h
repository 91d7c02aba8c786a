#pragma once

/// Which signals end a run, and who hears them. SIGINT, and SIGALRM when a run time is set, run the
/// shutdown path; SIGTERM, SIGHUP, SIGQUIT and a reader who has gone (SIGPIPE) do as SIGINT does,
/// unless they are ignored from the start. SIGQUIT during the shutdown kills; any other signal is
/// ignored while the path runs, and one of them that comes after it ends the process at once.

/// Starts to listen for these signals, and arms the timer of a set run time. The listener inherits
/// the priority of the calling thread. Throws a std::string that names what failed.
/// Requires: no other thread exists; those started later leave these signals to the listener.
void signals();

/// Has `status` asked for the exit status of a process that a signal ends at once, after the
/// shutdown path. Without it that is 0. Thread: the main one, before signals(); `status` is called
/// on the listener, while the run's other threads may still run.
void use_status_at_once(int (*status)());

/// Ends the run in order, as SIGINT does; nothing if it is ending already. Returns at once.
/// Thread: any.
void end_run();

/// If the run has ended, returns when the shutdown path has been completed. Signals are listened
/// for still. Thread: the main one.
void wait_for_shutdown();

/// Ends the listening. If the run has ended, returns when the shutdown path has been completed: the
/// end is seen by the threads before the path is through, or even begun.
void stop_listening();

/// Which signal has ended the run: SIGALRM if it is the timer's, SIGINT for every other reason, 0
/// if none has. Thread: any.
int ending_signal();
