#pragma once

namespace lab {

class RunFolder;
struct Run;

/// Sums up the records of the folder in `run.delivery`, and keeps what they say edge by edge in
/// `run.stimulus`. Those that are missing say nothing.
void read_delivery(const RunFolder& folder, Run& run);

/// Adds the rows to `run.samples` that a killed run had not put there: the engine's own sample file
/// holds them, and its record.
void recover_rows(const RunFolder& folder, Run& run);

}  // namespace lab
