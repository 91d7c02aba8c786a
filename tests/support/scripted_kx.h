#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Kx/Kx.h"

/// A platform driver framework that does as a test tells it and writes down every call, in place
/// of the real one: a test program that compiles scripted_kx.cpp links these twelve operations
/// instead of src/Kx. Thread: one.
namespace scripted_kx {

struct Script {
  kx_return_t master_port = kKxReturnSuccess;
  bool matching = true;  ///< whether KxServiceMatching makes one
  kx_return_t matching_services = kKxReturnSuccess;
  kx_return_t registry_iterator = kKxReturnSuccess;
  std::vector<std::string> entries;  ///< the class of each entry that the iterator gives
  kx_return_t open = kKxReturnSuccess;
  std::map<std::uint32_t, kx_return_t> scalar;  ///< by selector; success if not there
  kx_return_t structure = kKxReturnSuccess;
  kx_return_t close = kKxReturnSuccess;
};

Script& script();

/// Every call so far, one line each, with its arguments: the master port is "master", the
/// iterator "iterator", the n-th entry "entry n" and the connection "connection".
std::vector<std::string>& calls();

/// An empty script and no calls.
void reset();

}  // namespace scripted_kx
