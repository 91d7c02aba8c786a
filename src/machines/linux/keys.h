#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "machines/controller/key_service.h"
#include "machines/linux/fans/fan_control.h"
#include "machines/linux/sensors/sensor.h"

namespace linux_machine {

/// A key of this machine's controller: a sensor that each connection reads for itself, or a
/// register of the fan control that all of them share.
struct Key {
  std::uint32_t code;
  const controller::ValueType& type;
  std::string source;  ///< for people

  std::function<std::unique_ptr<Sensor>()> connect;         ///< null: a register
  std::function<sysfs::Result<double>()> read;              ///< of a register
  std::function<sysfs::Result<sysfs::Done>(double)> write;  ///< null: read-only
  bool moves_fan_when_read = false;  ///< its value may have to be measured first

  std::string name() const;
};

/// Every key that this machine has a source for: the sensors', then "FS! " and the keys of each
/// fan. `fans` outlives them.
std::vector<Key> make_keys(std::vector<SensorKey> sensors, const Surroundings& surroundings,
                           FanControl& fans);

/// The keys as one connection sees them. Files are opened when a key is first described or read,
/// with the rights of that moment. What goes wrong is reported to the user once for each key.
class LinuxKeys final : public controller::Keys {
 public:
  /// Both outlive it.
  LinuxKeys(const Surroundings& surroundings, const std::vector<Key>& keys);

  std::optional<std::size_t> find(std::uint32_t code) override;
  const controller::ValueType& type(std::size_t key) override { return keys_[key].type; }
  bool writable(std::size_t key) override { return keys_[key].write != nullptr; }
  bool may_change() override { return surroundings_.effective_user() == 0; }
  kx_return_t read(std::size_t key, std::uint32_t& stored) override;
  kx_return_t write(std::size_t key, std::uint32_t stored) override;

 private:
  /// What this connection has of a key.
  struct Connected {
    std::unique_ptr<Sensor> sensor;
    std::string told;  ///< the last message about it
  };
  kx_return_t failed(std::size_t key, const sysfs::Failure& failure);

  const Surroundings& surroundings_;
  const std::vector<Key>& keys_;
  std::vector<std::uint32_t> codes_;  ///< of keys_, close together: they are looked through often
  std::vector<Connected> connected_;
};

}  // namespace linux_machine
