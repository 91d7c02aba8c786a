#include "keys/listing.h"

#include <ostream>
#include <sstream>
#include <string>

#include "Inspection/inspection.h"
#include "Inspection/unit.h"
#include "Kx/Kx.h"
#include "SMC/SMC.h"

namespace vorn_keys {
namespace {

/// Transactions with keys of any size, which SMC's own do not resolve.
class Reader {
 public:
  smc_key_info describe(smc_code key) {
    SMCParamStruct request{};
    request.key = key;
    request.command = kSMCCommandKeyInfo;
    return transact(request).info;
  }

  SMCParamStruct read(smc_code key) {
    SMCParamStruct request{};
    request.key = key;
    request.command = kSMCCommandRead;
    return transact(request);
  }

 private:
  SMCParamStruct transact(SMCParamStruct& request) {
    SMCParamStruct reply{};
    smc_.call(kSMCSelectorTransaction, &request, &reply);
    return reply;
  }

  SMC smc_;
};

std::string value_text(const SMCParamStruct& reply) {
  const smc_code type = reply.info.dataType;
  std::ostringstream text;
  if (SMC::is_fixed_point(type) || SMC::is_signed_point(type)) {
    text << SMC::unpack_fixed_point(reply.bytes, type);
    return text.str();
  }
  std::uint32_t value = 0;
  for (std::uint32_t i = 0; i < reply.info.dataSize; ++i) {
    value = (value << 8U) | reply.bytes[i];
  }
  text << value;
  return text.str();
}

}  // namespace

bool list_keys(std::ostream& out) {
  Reader reader;
  bool all = true;
  out << "#key\ttype\tsize\tvalue\tunit\tsource\n";
  for (const inspection::Key& key : inspection::keys()) {
    const smc_code code = SMC::key(key.name);
    std::string type = "-";
    std::uint32_t size = 0;
    std::ostringstream value;
    try {
      const smc_key_info info = reader.describe(code);
      type = SMC::name(info.dataType);
      size = info.dataSize;
      value << (key.moves_fan ? "not measured" : value_text(reader.read(code)));
    } catch (const SMCException& failure) {
      all = false;
      value << failure;
    }
    out << key.name << '\t' << type << '\t' << size << '\t' << value.str() << '\t'
        << inspection::unit_of(key.name) << '\t' << key.source << '\n';
  }
  return all;
}

}  // namespace vorn_keys
