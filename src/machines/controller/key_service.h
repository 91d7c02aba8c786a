#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Kx/driver.h"
#include "SMC/SMCParamStruct.h"
#include "machines/controller/value_type.h"

namespace controller {

/// The result byte of a key transaction.
enum class Result : std::uint8_t {
  success = 0,
  unknown_key = 1,
  read_only_key = 2,
  wrong_size = 3,  ///< a write whose data size is not the key's
  unknown_command = 4,
};

/// The keys of a machine as one connection sees them. A key is an index, found once for each
/// transaction. Thread: one at a time.
class Keys {
 public:
  Keys() = default;
  Keys(const Keys&) = delete;
  Keys& operator=(const Keys&) = delete;
  virtual ~Keys() = default;

  virtual std::optional<std::size_t> find(std::uint32_t code) = 0;
  virtual const ValueType& type(std::size_t key) = 0;
  virtual bool writable(std::size_t key) = 0;

  /// Whether this process may write keys at all.
  virtual bool may_change() = 0;

  /// Sets `stored` to the value now, as its type stores it; or returns why there is none.
  virtual kx_return_t read(std::size_t key, std::uint32_t& stored) = 0;

  /// Requires: the key is writable and may_change() holds.
  virtual kx_return_t write(std::size_t key, std::uint32_t stored) = 0;
};

/// The driver of a controller, service class "VeltoSMC": any number of connections, each of which
/// reads, writes and describes keys once its open hand-shake is done.
class KeyService : public kx::Driver {
 public:
  /// `connect` makes the keys of a new connection.
  explicit KeyService(std::function<std::unique_ptr<Keys>()> connect)
      : connect_(std::move(connect)) {}

  std::vector<std::string> classes() const override { return {kSMCServiceClass}; }

  /// Returns kKxReturnUnsupported for a connection type other than 1.
  kx_return_t open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) override;

 private:
  const std::function<std::unique_ptr<Keys>()> connect_;
};

}  // namespace controller
