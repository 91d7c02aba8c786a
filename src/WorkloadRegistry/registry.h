#pragma once

#include <map>
#include <string>

class WorkloadFactory;

/// Registers `factory` under its name; a later one of the same name takes the earlier one's place.
/// The factory is never deleted.
void load_workload(std::map<std::string, WorkloadFactory*>& factories, WorkloadFactory* factory);

/// Registers every workload that the program has.
void load_factories(std::map<std::string, WorkloadFactory*>& factories);
