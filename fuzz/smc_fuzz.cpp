// The codec on arbitrary names, types and bytes, and every operation of SMC against a controller
// that answers each call with an arbitrary code, record and size. Whatever comes of it is a value
// or an SMCException.
//
// Some of what a controller may say of a key's type aborts the process by design, and is steered
// around here, and nothing else is:
// - get_float and the float codec on a type that is not "fp" or "sp", or on one whose two width
//   digits do not add up to 16 ("sp": 15);
// - set_fan with a speed on a force register whose type is not "ui" or not two bytes, or on a
//   target whose type is not "fp".

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "Kx/driver.h"
#include "SMC/SMC.h"

namespace {

using Input = FuzzedDataProvider;

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

constexpr smc_code kFamily = 0xFFFF0000;
constexpr smc_code kUnsigned = 0x75690000;
constexpr smc_code kFixedPoint = 0x66700000;
constexpr smc_code kSignedPoint = 0x73700000;

bool is_digit(smc_code character) {
  return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
}

/// `type` with a fourth character that makes the two digits, if they are digits, add up.
smc_code with_widths_that_add_up(smc_code type) {
  const smc_code third = (type >> 8) & 0xFF;
  if (!is_digit(third) || !is_digit(type & 0xFF)) {
    return type;
  }
  const smc_code integer = third <= '9' ? third - '0' : third - 'a' + 10;
  const smc_code total = SMC::is_signed_point(type) ? 15 : 16;
  const smc_code fraction = total - integer;  // 16 for "fp0": no digit, and so refused
  constexpr std::array<char, 17> kDigits{'0', '1', '2', '3', '4', '5', '6', '7', '8',
                                         '9', 'a', 'b', 'c', 'd', 'e', 'f', 'g'};
  return (type & ~smc_code{0xFF}) | static_cast<unsigned char>(kDigits[fraction]);
}

/// What get_float and the float codec take without aborting.
smc_code point_type(smc_code type) {
  const smc_code family = (type & 0x10000) != 0 ? kSignedPoint : kFixedPoint;
  return with_widths_that_add_up((type & ~kFamily) | family);
}

/// What pack_with_cast takes without aborting: any type but an "fp" one whose widths are wrong.
smc_code packable_type(smc_code type) {
  return SMC::is_fixed_point(type) ? with_widths_that_add_up(type) : type;
}

/// One of the types that controllers really have, or any.
smc_code any_type(Input& input) {
  static const std::array<const char*, 9> kTypes{"ui8 ", "ui16", "ui32", "si8 ", "si16",
                                                 "si32", "fp88", "fpe2", "sp78"};
  return input.ConsumeBool() ? SMC::key(input.PickValueInArray(kTypes))
                             : input.ConsumeIntegral<smc_code>();
}

/// Which keys the operation under way asserts something of.
enum class Asserted { kFloat, kFanWithSpeed, kFanWithoutSpeed };

class ArbitraryController : public kx::Driver {
 public:
  explicit ArbitraryController(Input& input) : input_(input) {}

  std::vector<std::string> classes() const override { return {kSMCServiceClass}; }

  kx_return_t open(std::uint32_t /*type*/, std::unique_ptr<kx::UserClient>& client) override {
    if (input_.ConsumeBool()) {
      client = std::make_unique<Client>(*this);
    }
    return code();
  }

  Asserted asserted = Asserted::kFloat;

 private:
  struct Client : kx::UserClient {
    explicit Client(ArbitraryController& owner) : controller(owner) {}
    kx_return_t scalar_method(std::uint32_t /*selector*/, std::span<const std::uint32_t> /*inputs*/,
                              std::span<std::uint32_t> /*outputs*/) override {
      return controller.code();
    }
    kx_return_t structure_method(std::uint32_t /*selector*/, std::span<const std::byte> input,
                                 std::span<std::byte> output, std::size_t& output_size) override {
      return controller.answer(input, output, output_size);
    }
    ArbitraryController& controller;
  };

  kx_return_t code() {
    return input_.ConsumeIntegralInRange(0, 15) == 15 ? input_.ConsumeIntegral<int>() : 0;
  }

  kx_return_t answer(std::span<const std::byte> in, std::span<std::byte> out,
                     std::size_t& output_size) {
    SMCParamStruct request{};
    require(in.size() == sizeof request && out.size() == sizeof request);
    std::memcpy(&request, in.data(), sizeof request);
    SMCParamStruct reply{};
    input_.ConsumeData(&reply, sizeof reply);
    if (input_.ConsumeIntegralInRange(0, 7) != 7) {
      reply.info.dataSize = 2;
    }
    reply.info.dataType = steer(request.key, any_type(input_));
    std::memcpy(out.data(), &reply, sizeof reply);
    output_size = input_.ConsumeIntegralInRange<std::size_t>(0, sizeof reply + 1);
    return code();
  }

  smc_code steer(smc_code key, smc_code type) const {
    const bool is_maximum = (key & 0xFFFF) == 0x4D78;  // "Mx", read as a float
    if (asserted == Asserted::kFloat || is_maximum) {
      return point_type(type);
    }
    if (asserted == Asserted::kFanWithoutSpeed) {
      return packable_type(type);
    }
    if (key == SMC::key("FS! ")) {
      type = (type & ~kFamily) | kUnsigned;
      const bool wrong_size = type == SMC::key("ui8 ") || type == SMC::key("ui32");
      return wrong_size ? SMC::key("ui16") : type;
    }
    return with_widths_that_add_up((type & ~kFamily) | kFixedPoint);
  }

  Input& input_;
};

template <class Action>
void run(const Action& action) {
  try {
    action();
  } catch (const SMCException& exception) {
    require(!exception.description().empty());
  }
}

void fuzz_names(Input& input) {
  const std::string name = input.ConsumeRandomLengthString(6);
  run([&] {
    const smc_code code = SMC::key(name);
    const bool ascii = std::all_of(name.begin(), name.end(),
                                   [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    require(!ascii || SMC::name(code) == name);
  });
  const smc_code type = any_type(input);
  require(SMC::name(type).size() == 4);
  run([&] { require(SMC::integer_size(type) <= 4); });
  run([&] { require(SMC::single_ascii_hex_to_int(input.ConsumeIntegral<char>()) < 16); });
  run([&] { require(SMC::fixed_point_integer_width(point_type(type)) < 16); });
}

template <class Value>
void fuzz_pack(Value value, smc_code type) {
  // Exactly as large as the largest type, so that a byte too many is seen by the sanitizer.
  const auto bytes = std::make_unique<std::array<unsigned char, 4>>();
  run([&] { SMC::pack_with_cast(bytes->data(), value, packable_type(type)); });
  if constexpr (std::is_same_v<Value, float>) {
    run([&] { SMC::pack(bytes->data(), value, point_type(type)); });
    run([&] {
      SMC::pack(bytes->data(), value, SMC::key("fpe2"));
      const float read = SMC::unpack_fixed_point(bytes->data(), SMC::key("fpe2"));
      require(!(value >= 0.0F) || (read <= value && value - read < 0.25F));
    });
  } else {
    run([&] { SMC::pack(bytes->data(), value, type); });
  }
}

void fuzz_unpack(Input& input) {
  const auto bytes = std::make_unique<std::array<unsigned char, 2>>();
  input.ConsumeData(bytes->data(), bytes->size());
  const smc_code type = point_type(any_type(input));
  run([&] {
    const float value = SMC::unpack_fixed_point(bytes->data(), type);
    require(value >= -127.0F && value < 16384.0F);
  });
}

void fuzz_codec(Input& input) {
  fuzz_names(input);
  fuzz_pack(input.ConsumeIntegral<int>(), any_type(input));
  fuzz_pack(input.ConsumeIntegral<unsigned int>(), any_type(input));
  float value = 0.0F;
  input.ConsumeData(&value, sizeof value);
  fuzz_pack(value, any_type(input));
  fuzz_unpack(input);
}

std::string any_key(Input& input) {
  static const std::array<const char*, 9> kKeys{"F0Tg", "F1Tg", "F2Tg", "F0Mx", "F1Mx",
                                                "FS! ", "PC0C", "TC0D", "F3Tg"};
  return input.ConsumeBool() ? input.PickValueInArray(kKeys) : input.ConsumeRandomLengthString(5);
}

void fuzz_sampling(Input& input) {
  std::list<std::string> names;
  for (int i = input.ConsumeIntegralInRange(0, 4); i > 0; --i) {
    names.push_back(any_key(input));
  }
  run([&] {
    SMC smc(names);
    std::list<float> samples;
    for (int i = 0; i < 3; ++i) {
      run([&] {
        smc.sample(samples);
        require(samples.size() == names.size());
      });
      require(samples.size() <= names.size());
    }
  });
}

void fuzz_fans(Input& input, ArbitraryController& controller) {
  run([&] {
    SMC smc;
    for (int i = input.ConsumeIntegralInRange(0, 4); i > 0; --i) {
      const std::string fan = any_key(input);
      const bool with_speed = input.ConsumeBool();
      controller.asserted = with_speed ? Asserted::kFanWithSpeed : Asserted::kFanWithoutSpeed;
      if (with_speed) {
        const unsigned int rpm = input.ConsumeBool()
                                     ? input.ConsumeIntegralInRange<unsigned int>(0, 9000)
                                     : input.ConsumeIntegral<unsigned int>();
        run([&] { smc.set_fan(fan, rpm); });
      } else {
        run([&] { smc.set_fan(fan); });
        run([&] { smc.default_fan(fan); });
      }
    }
  });
}

void fuzz_transactions(Input& input, ArbitraryController& controller) {
  controller.asserted = Asserted::kFloat;
  run([&] {
    SMC smc;
    smc_key_data key{input.ConsumeIntegral<smc_code>(), {}};
    run([&] { key.info = smc.get_key_infodata(key.key); });
    run([&] { smc.get_short(key); });
    key.info.dataType = point_type(key.info.dataType);
    run([&] { smc.get_float(key); });
    key.info.dataType = packable_type(any_type(input));
    run([&] { smc.write(key, input.ConsumeIntegral<int>()); });
    run([&] { smc.write(key, input.ConsumeIntegral<unsigned int>()); });
    run([&] { smc.write(key, input.ConsumeFloatingPoint<float>()); });
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  if (input.ConsumeBool()) {
    fuzz_codec(input);
    return 0;
  }
  const auto controller = std::make_shared<ArbitraryController>(input);
  kx::install_machine({{controller, {}}});
  while (input.remaining_bytes() > 0) {
    controller->asserted = Asserted::kFloat;
    switch (input.ConsumeIntegralInRange(0, 2)) {
      case 0:
        fuzz_sampling(input);
        break;
      case 1:
        fuzz_fans(input, *controller);
        break;
      default:
        fuzz_transactions(input, *controller);
    }
  }
  kx::install_machine({});
  return 0;
}

std::vector<kx::Node> kx::compose_machine() {
  return {};
}
