#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Kx/Kx.h"

namespace kx {

/// One open connection to a driver: what its methods do. Destroyed when the connection is closed.
/// Thread: one call at a time for one connection; different connections call concurrently.
class UserClient {
 public:
  UserClient() = default;
  UserClient(const UserClient&) = delete;
  UserClient& operator=(const UserClient&) = delete;
  virtual ~UserClient() = default;

  virtual kx_return_t scalar_method(std::uint32_t selector, std::span<const std::uint32_t> inputs,
                                    std::span<std::uint32_t> outputs) = 0;

  /// Fills `output` from its front and sets `output_size`, at most output.size() bytes.
  virtual kx_return_t structure_method(std::uint32_t selector, std::span<const std::byte> input,
                                       std::span<std::byte> output, std::size_t& output_size) = 0;
};

/// A driver: the service that the registry shows, and the maker of its connections.
class Driver {
 public:
  Driver() = default;
  Driver(const Driver&) = delete;
  Driver& operator=(const Driver&) = delete;
  virtual ~Driver() = default;

  /// The service's own class first, then its base classes, nearest first.
  virtual std::vector<std::string> classes() const = 0;

  /// Makes a connection of `type` in `client`, or returns why it may not be made.
  /// Thread: any.
  virtual kx_return_t open(std::uint32_t type, std::unique_ptr<UserClient>& client) = 0;
};

/// One entry of the registry tree: a driver (null for an entry that is only a place) and what
/// hangs below it.
struct Node {
  std::shared_ptr<Driver> driver;
  std::vector<Node> children;
};

/// The machine that this program is linked with, as a set of drivers. Each program links exactly
/// one definition of it; called once, when the framework is first used. An empty machine is a
/// machine without drivers.
std::vector<Node> compose_machine();

/// For tests: puts another machine in place of the linked one, and forgets every open object.
/// Requires: no framework call is under way.
void install_machine(std::vector<Node> machine);

/// For tests: how many objects (matching dictionaries, iterators, services, connections) are held
/// now; a service counts once for each handle to it.
std::size_t live_objects();

}  // namespace kx
