#include "machines/linux/keys.h"

#include <algorithm>

#include "machines/linux/kx_result.h"

namespace linux_machine {

std::string Key::name() const {
  std::string characters;
  for (int shift = 24; shift >= 0; shift -= 8) {
    characters += static_cast<char>((code >> static_cast<unsigned>(shift)) & 0xFFU);
  }
  return characters;
}

LinuxKeys::LinuxKeys(const Surroundings& surroundings, const std::vector<Key>& keys)
    : surroundings_(surroundings), keys_(keys), connected_(keys.size()) {
  for (const Key& key : keys) {
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
  if (!connected_[key].sensor && keys_[key].connect) {
    connected_[key].sensor = keys_[key].connect();
  }
  return key;
}

kx_return_t LinuxKeys::read(std::size_t key, std::uint32_t& stored) {
  Sensor* const sensor = connected_[key].sensor.get();
  const sysfs::Result<double> value = sensor != nullptr ? sensor->read() : keys_[key].read();
  if (!value) {
    return failed(key, value.failure());
  }
  stored = keys_[key].type.encode(*value);
  return kKxReturnSuccess;
}

kx_return_t LinuxKeys::write(std::size_t key, std::uint32_t stored) {
  const sysfs::Result<sysfs::Done> written = keys_[key].write(keys_[key].type.decode(stored));
  return written ? kKxReturnSuccess : failed(key, written.failure());
}

kx_return_t LinuxKeys::failed(std::size_t key, const sysfs::Failure& failure) {
  if (connected_[key].told != failure.message) {
    connected_[key].told = failure.message;
    surroundings_.report(keys_[key].name() + ": " + failure.message);
  }
  return kx_result(failure);
}

}  // namespace linux_machine
