#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Kx/driver.h"

/// A driver whose behaviour a test fills in; what it leaves out succeeds and does nothing.
struct TestDriver : kx::Driver {
  using Scalar = std::function<kx_return_t(std::uint32_t, std::span<const std::uint32_t>,
                                           std::span<std::uint32_t>)>;
  using Structure = std::function<kx_return_t(std::uint32_t, std::span<const std::byte>,
                                              std::span<std::byte>, std::size_t&)>;

  explicit TestDriver(std::vector<std::string> classes_of_driver)
      : names(std::move(classes_of_driver)) {}

  struct Client : kx::UserClient {
    explicit Client(TestDriver& owner) : driver(owner) {}
    ~Client() override { driver.on_close(); }
    kx_return_t scalar_method(std::uint32_t selector, std::span<const std::uint32_t> inputs,
                              std::span<std::uint32_t> outputs) override {
      return driver.scalar(selector, inputs, outputs);
    }
    kx_return_t structure_method(std::uint32_t selector, std::span<const std::byte> input,
                                 std::span<std::byte> output, std::size_t& output_size) override {
      return driver.structure(selector, input, output, output_size);
    }
    TestDriver& driver;
  };

  std::vector<std::string> classes() const override { return names; }
  kx_return_t open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) override {
    const kx_return_t result = on_open(type);
    if (result == kKxReturnSuccess && makes_clients) {
      client = std::make_unique<Client>(*this);
    }
    return result;
  }

  std::vector<std::string> names;
  bool makes_clients = true;
  std::function<kx_return_t(std::uint32_t)> on_open = [](auto) { return kKxReturnSuccess; };
  std::function<void()> on_close = [] {};
  Scalar scalar = [](auto, auto, auto) { return kKxReturnSuccess; };
  Structure structure = [](auto, auto, auto, auto&) { return kKxReturnSuccess; };
};

inline std::shared_ptr<TestDriver> make_driver(std::vector<std::string> classes) {
  return std::make_shared<TestDriver>(std::move(classes));
}

/// The walks of the tests, in one call each. What they return is a handle that the caller owns.
inline kx_port_t master_port() {
  kx_port_t master = 0;
  KxMasterPort(0, &master);
  return master;
}

inline kx_object_t matching_iterator(const char* class_name) {
  kx_object_t iterator = 0;
  KxServiceGetMatchingServices(master_port(), KxServiceMatching(class_name), &iterator);
  return iterator;
}

inline kx_object_t first_service(const char* class_name) {
  const kx_object_t iterator = matching_iterator(class_name);
  const kx_object_t service = KxIteratorNext(iterator);
  KxObjectRelease(iterator);
  return service;
}

inline kx_object_t open_connection(const char* class_name) {
  const kx_object_t service = first_service(class_name);
  kx_object_t connection = 0;
  KxServiceOpen(service, KxTaskSelf(), 0, &connection);
  KxObjectRelease(service);
  return connection;
}
