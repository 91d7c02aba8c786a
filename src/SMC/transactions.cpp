#include "SMC/SMC.h"

namespace {

/// The data size of every key that this program resolves, in bytes.
constexpr std::uint32_t kExpectedSize = 2;

SMCParamStruct make_request(const smc_key_data& key, std::uint8_t command) {
  SMCParamStruct request{};
  request.key = key.key;
  request.info = key.info;
  request.command = command;
  return request;
}

}  // namespace

void SMC::read(const smc_key_data& key, SMCParamStruct& out) {
  SMCParamStruct request = make_request(key, kSMCCommandRead);
  call(kSMCSelectorTransaction, &request, &out);
}

// The result byte is not looked at: the controller reports size 0 for a key that it lacks.
smc_key_info SMC::ask_key_info(const smc_code& key) {
  SMCParamStruct request = make_request({.key = key, .info = {}}, kSMCCommandKeyInfo);
  SMCParamStruct reply{};
  call(kSMCSelectorTransaction, &request, &reply);
  return reply.info;
}

std::uint32_t SMC::get_key_size(const smc_code& key) {
  return ask_key_info(key).dataSize;
}

smc_key_info SMC::get_key_infodata(const smc_code& key) {
  const smc_key_info info = ask_key_info(key);
  if (info.dataSize != kExpectedSize) {
    throw SMCException("Expected data size " + std::to_string(kExpectedSize) + " for SMC key \"" +
                           name(key) + "\", instead got " + std::to_string(info.dataSize),
                       0);
  }
  return info;
}

unsigned short SMC::get_short(const smc_key_data& key) {
  SMCParamStruct reply{};
  read(key, reply);
  return unpack_short(reply.bytes);
}

float SMC::get_float(const smc_key_data& key) {
  SMCParamStruct reply{};
  read(key, reply);
  return unpack_fixed_point(reply.bytes, key.info.dataType);
}

void SMC::write(const smc_key_data& key, float value) {
  SMCParamStruct request = make_request(key, kSMCCommandWrite);
  pack_with_cast(request.bytes, value, key.info.dataType);
  send_write(request);
}

void SMC::write(const smc_key_data& key, int value) {
  SMCParamStruct request = make_request(key, kSMCCommandWrite);
  pack_with_cast(request.bytes, value, key.info.dataType);
  send_write(request);
}

void SMC::write(const smc_key_data& key, unsigned int value) {
  SMCParamStruct request = make_request(key, kSMCCommandWrite);
  pack_with_cast(request.bytes, value, key.info.dataType);
  send_write(request);
}

void SMC::send_write(SMCParamStruct& request) {
  SMCParamStruct reply{};
  call(kSMCSelectorTransaction, &request, &reply);
  if (reply.result != 0) {
    throw SMCException("SMC result error during write", 0);
  }
}

smc_key_data SMC::resolve(const std::string& name) {
  smc_key_data data{};
  data.key = key(name);
  data.info = get_key_infodata(data.key);
  return data;
}
