#pragma once

class OptionExtension;

/// Reads the command line into the run settings. Returns 0, or -1 if it is not valid: what
/// it does not take is named on standard error. `-h` and `-v` end the process with status 0 where
/// they are met.
/// Requires: `factories` is filled, and this is the first call.
int parse_options(int argc, char* argv[]);

/// The same for a program that takes more options, or reads some of vorn's in its own way.
int parse_options(int argc, char* argv[], OptionExtension& extension);

/// Prints the help text on standard error.
void usage(const char* program_name);
