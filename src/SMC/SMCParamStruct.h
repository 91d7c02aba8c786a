#pragma once

#include <cstddef>
#include <cstdint>

/// Four characters, the first in the most significant byte: a key's or a data type's name as the
/// controller's protocol carries it. 32 bits on the wire, and so in every interface.
using smc_code = std::uint32_t;

/// What the controller says of a key.
struct smc_key_info {
  std::uint32_t dataSize;  ///< bytes
  smc_code dataType;
  std::uint32_t dataAttributes;  ///< the attribute byte and its padding; copied, never interpreted
};

/// A key with its info, as callers keep it between transactions.
struct smc_key_data {
  smc_code key;
  smc_key_info info;
};

/// The record that a structure call exchanges with the controller's driver, both ways. Host byte
/// order, except for the data bytes, which are big-endian. Every byte that a request does not
/// set is zero.
struct SMCParamStruct {
  smc_code key;
  std::uint8_t version[8];      ///< not used
  std::uint8_t powerLimit[16];  ///< not used
  smc_key_info info;
  std::uint8_t result;   ///< of the controller; 0: success
  std::uint8_t status;   ///< not used
  std::uint8_t command;  ///< one of the kSMCCommand constants
  std::uint8_t padding;
  std::uint32_t word;  ///< not used
  unsigned char bytes[32];
};

static_assert(sizeof(smc_key_info) == 12 && sizeof(smc_key_data) == 16);
static_assert(offsetof(SMCParamStruct, key) == 0 && offsetof(SMCParamStruct, version) == 4 &&
              offsetof(SMCParamStruct, info) == 28 && offsetof(SMCParamStruct, result) == 40 &&
              offsetof(SMCParamStruct, status) == 41 && offsetof(SMCParamStruct, command) == 42 &&
              offsetof(SMCParamStruct, padding) == 43 && offsetof(SMCParamStruct, word) == 44 &&
              offsetof(SMCParamStruct, bytes) == 48 && sizeof(SMCParamStruct) == 80);

constexpr std::uint8_t kSMCCommandRead = 5;
constexpr std::uint8_t kSMCCommandWrite = 6;
constexpr std::uint8_t kSMCCommandKeyInfo = 9;

constexpr std::uint32_t kSMCSelectorOpen = 0;   ///< scalar method: the open hand-shake
constexpr std::uint32_t kSMCSelectorClose = 1;  ///< scalar method: the close hand-shake
constexpr int kSMCSelectorTransaction = 2;      ///< structure method: every key transaction

constexpr const char* kSMCServiceClass = "VeltoSMC";
constexpr std::uint32_t kSMCConnectionType = 1;
