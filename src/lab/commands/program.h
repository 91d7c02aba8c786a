#pragma once

namespace lab {

/// What the programs of the lab do: the command line, and what it asks for. Returns the exit
/// status.
int program(int argc, char* argv[]);

}  // namespace lab
