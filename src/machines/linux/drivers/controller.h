#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "machines/controller/key_service.h"
#include "machines/linux/drivers/keys.h"
#include "machines/linux/surroundings/surroundings.h"

namespace linux_machine {

/// What has been said to the user about each key: the same thing is said once in a run, however
/// many connections meet it. Thread: any.
class Complaints {
 public:
  /// Whether `message` is news about `key`.
  bool is_news(std::size_t key, const std::string& message);

 private:
  std::mutex mutex_;
  std::map<std::size_t, std::string> last_;
};

/// What all connections share. All of it outlives them.
struct KeyStore {
  const Surroundings& surroundings;
  const std::vector<Key>& keys;
  std::function<bool()> may_change;  ///< whether this process may write keys now
  Complaints& complaints;
};

/// The driver of this machine's keys. Outlived by what is in the store.
class Controller : public controller::KeyService {
 public:
  explicit Controller(const KeyStore& store);
};

/// The keys as one connection sees them. Files are opened when a key is first described or read,
/// with the rights of that moment. What goes wrong is reported to the user.
class LinuxKeys final : public controller::Keys {
 public:
  explicit LinuxKeys(const KeyStore& store);

  std::optional<std::size_t> find(std::uint32_t code) override;
  const controller::ValueType& type(std::size_t key) override { return store_.keys[key].type; }
  bool writable(std::size_t key) override { return store_.keys[key].write != nullptr; }
  bool may_change() override { return store_.may_change(); }
  kx_return_t read(std::size_t key, std::uint32_t& stored) override;
  kx_return_t write(std::size_t key, std::uint32_t stored) override;

 private:
  kx_return_t failed(std::size_t key, const sysfs::Failure& failure);

  const KeyStore store_;
  std::vector<std::uint32_t>
      codes_;  ///< of the keys, close together: they are looked through often
  std::vector<std::unique_ptr<Sensor>> sensors_;  ///< by key; null: a register, or not used yet
};

}  // namespace linux_machine
