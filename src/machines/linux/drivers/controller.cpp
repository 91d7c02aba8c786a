#include "machines/linux/drivers/controller.h"

#include <algorithm>

#include "machines/linux/drivers/kx_result.h"

namespace linux_machine {

Controller::Controller(const KeyStore& store)
    : KeyService([store] { return std::make_unique<LinuxKeys>(store); }) {}

bool Complaints::is_news(std::size_t key, const std::string& message) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::string& last = last_[key];
  if (last == message) {
    return false;
  }
  last = message;
  return true;
}

LinuxKeys::LinuxKeys(const KeyStore& store) : store_(store), sensors_(store.keys.size()) {
  for (const Key& key : store.keys) {
    codes_.push_back(key.code);
  }
}

// Described before it is read: a power key has its baseline from then on, and its first reading
// need not wait for one.
std::optional<std::size_t> LinuxKeys::find(std::uint32_t code) {
  const auto at = std::find(codes_.begin(), codes_.end(), code);
  if (at == codes_.end()) {
    return std::nullopt;
  }
  const auto key = static_cast<std::size_t>(at - codes_.begin());
  if (!sensors_[key] && store_.keys[key].connect) {
    sensors_[key] = store_.keys[key].connect();
  }
  return key;
}

kx_return_t LinuxKeys::read(std::size_t key, std::uint32_t& stored) {
  Sensor* const sensor = sensors_[key].get();
  const Key& one = store_.keys[key];
  const sysfs::Result<double> value = sensor != nullptr ? sensor->read() : one.read();
  if (!value) {
    return failed(key, value.failure());
  }
  stored = one.type.encode(*value);
  return kKxReturnSuccess;
}

kx_return_t LinuxKeys::write(std::size_t key, std::uint32_t stored) {
  const Key& one = store_.keys[key];
  const sysfs::Result<sysfs::Done> written = one.write(one.type.decode(stored));
  return written ? kKxReturnSuccess : failed(key, written.failure());
}

kx_return_t LinuxKeys::failed(std::size_t key, const sysfs::Failure& failure) {
  if (store_.complaints.is_news(key, failure.message)) {
    store_.surroundings.report(store_.keys[key].name() + ": " + failure.message);
  }
  return kx_result(failure);
}

}  // namespace linux_machine
