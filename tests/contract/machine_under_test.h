#pragma once

#include <sys/types.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "Kx/driver.h"

/// A machine whose drivers are held to the contract that all drivers share.
class MachineUnderTest {
 public:
  MachineUnderTest() = default;
  MachineUnderTest(const MachineUnderTest&) = delete;
  MachineUnderTest& operator=(const MachineUnderTest&) = delete;
  virtual ~MachineUnderTest() = default;

  virtual std::vector<kx::Node> compose() = 0;
  virtual void become_user(uid_t user) = 0;

  /// The drivers of a class that the machine has, wherever they are in its registry.
  std::vector<std::shared_ptr<kx::Driver>> drivers(const std::string& class_name);
};

/// One of them, by name: "simulated", or a machine of tests/machines.
std::unique_ptr<MachineUnderTest> make_machine(const std::string& name);

/// The names of those that have a driver of this class.
std::vector<std::string> machines_with(const std::string& class_name);
