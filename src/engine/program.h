#pragma once

namespace engine {

class WorkloadHost;

/// The program, from its command line to its exit status. `host` is what the loads report to; never
/// destroyed. Requires: process::hold_standard_descriptors(). Thread: the main one, before there is
/// another.
int run_program(int argc, char* argv[], WorkloadHost& host);

}  // namespace engine
