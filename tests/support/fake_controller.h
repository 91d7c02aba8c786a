#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Kx/driver.h"
#include "SMC/SMCParamStruct.h"

/// A controller for tests: keeps keys and their bytes, answers reads, writes and key infos as a
/// real one would, unless a test scripts another answer for one transaction, and records what it
/// was asked. Put into the framework with kx::install_machine({{controller, {}}}).
///
/// Thread: its public functions and its connections from any; its public fields are set before
/// the first call.
class FakeController : public kx::Driver {
 public:
  using Bytes = std::array<unsigned char, 32>;

  /// How the answer to one transaction differs from the ordinary one.
  struct Answer {
    kx_return_t returns = kKxReturnSuccess;  ///< of the driver call; a failed one changes nothing
    std::optional<std::uint8_t> result;      ///< the reply's result byte
    std::optional<smc_key_info> info;
    std::optional<Bytes> bytes;
  };

  /// The code of four characters, each below 0x80.
  static smc_code code(const char* name);

  void add_key(const char* name, const char* type, std::uint32_t size,
               std::initializer_list<unsigned char> bytes = {});
  /// Scripts the answer to the `transaction`-th one from now; 0 is the next.
  void answer(std::size_t transaction, const Answer& answer);

  /// The first two data bytes of a key.
  unsigned int word(const char* name) const;
  void set_word(const char* name, unsigned int value);

  /// Every structure request so far, whole.
  std::vector<SMCParamStruct> requests() const;
  /// The selector of every scalar call so far.
  std::vector<std::uint32_t> scalar_calls() const;
  /// The type of every open so far, refused ones included.
  std::vector<std::uint32_t> opens() const;

  kx_return_t open_returns = kKxReturnSuccess;
  std::map<std::uint32_t, kx_return_t> scalar_returns;  ///< by selector; success if not there
  std::vector<std::string> class_names{kSMCServiceClass};

  std::vector<std::string> classes() const override;
  kx_return_t open(std::uint32_t type, std::unique_ptr<kx::UserClient>& client) override;

 private:
  class Connection;
  struct Key {
    smc_key_info info{};
    Bytes bytes{};
  };

  kx_return_t scalar(std::uint32_t selector, bool with_arguments);
  kx_return_t transact(const SMCParamStruct& request, SMCParamStruct& reply);
  void answer_ordinarily(const SMCParamStruct& request, SMCParamStruct& reply);

  mutable std::mutex mutex_;  ///< guards what follows
  std::map<smc_code, Key> keys_;
  std::map<std::size_t, Answer> answers_;  ///< by number of the transaction
  std::vector<SMCParamStruct> requests_;
  std::vector<std::uint32_t> scalar_calls_;
  std::vector<std::uint32_t> opens_;
};

/// The 80 bytes in hexadecimal, to compare whole records with a failure that can be read.
std::string hex(const SMCParamStruct& record);
