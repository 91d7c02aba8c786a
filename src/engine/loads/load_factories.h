#pragma once

#include <map>
#include <string>

class LoadHost;
class WorkloadFactory;

/// Registers the engine's loads: "fma", "mem", "cache", "mix" and "int", which ignore the waveform,
/// and "bfma", "bmem", "bcache", "bmix" and "bint", which follow it. "bspin" is replaced by one
/// that does, is called and is described as the driver's does, and is counted and observed.
/// `host` and the factories live as long as the program.
void load_engine_factories(std::map<std::string, WorkloadFactory*>& registry, LoadHost& host);

/// What is to be said if a load of this run that is to work on memory stays in the caches, since
/// little memory is available; else empty. Reads vorn's settings.
std::string note_on_memory();
