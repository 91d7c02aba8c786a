#pragma once

/// Whether `intervals` of them fit into half of `memory_bytes`: a schedule is held in memory, and
/// must not crowd out what is measured.
bool schedule_fits(double intervals, double memory_bytes);

/// Refuses a schedule that does not fit into half of the memory that this process may expect, or
/// that it may not reserve. Returns 0, or -1 after printing why and what to do.
/// Requires: using_timing_thread().
int check_schedule();
