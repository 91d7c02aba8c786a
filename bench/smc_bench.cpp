// What a key costs through the whole stack: SMC, the driver framework and a driver that has the
// value at hand. A real driver's time comes on top.

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Kx/driver.h"
#include "SMC/SMC.h"

namespace {

/// Says of every key that it is an "fp88" one of two bytes, and reads 40.5 from it.
class ConstantController : public kx::Driver {
 public:
  std::vector<std::string> classes() const override { return {kSMCServiceClass}; }
  kx_return_t open(std::uint32_t /*type*/, std::unique_ptr<kx::UserClient>& client) override {
    client = std::make_unique<Client>();
    return kKxReturnSuccess;
  }

 private:
  struct Client : kx::UserClient {
    kx_return_t scalar_method(std::uint32_t /*selector*/, std::span<const std::uint32_t> /*inputs*/,
                              std::span<std::uint32_t> /*outputs*/) override {
      return kKxReturnSuccess;
    }
    kx_return_t structure_method(std::uint32_t /*selector*/, std::span<const std::byte> /*input*/,
                                 std::span<std::byte> output, std::size_t& output_size) override {
      SMCParamStruct reply{};
      reply.info = {2, 0x66703838, 0};
      reply.bytes[0] = 0x28;
      reply.bytes[1] = 0x80;
      std::memcpy(output.data(), &reply, sizeof reply);
      output_size = sizeof reply;
      return kKxReturnSuccess;
    }
  };
};

/// The program samples with other threads running: without one ever started, the C++ library
/// would leave out the atomic operations.
void become_multi_threaded() {
  std::thread([] {}).join();
}

void sample(benchmark::State& state) {
  become_multi_threaded();
  const std::list<std::string> keys(static_cast<std::size_t>(state.range(0)), "PC0C");
  SMC smc(keys);
  std::list<float> samples;
  for ([[maybe_unused]] auto _ : state) {
    smc.sample(samples);
    benchmark::DoNotOptimize(samples.back());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(sample)->ArgName("keys")->Arg(1)->Arg(10);

void open_and_close(benchmark::State& state) {
  become_multi_threaded();
  for ([[maybe_unused]] auto _ : state) {
    const SMC smc;
  }
}
BENCHMARK(open_and_close);

template <class Value>
void pack(benchmark::State& state, const char* name, Value value) {
  const smc_code type = SMC::key(name);
  std::array<unsigned char, 32> bytes{};
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(value);
    SMC::pack_with_cast(bytes.data(), value, type);
    benchmark::DoNotOptimize(bytes);
  }
}
BENCHMARK_CAPTURE(pack, float_fpe2, "fpe2", 1500.0F);
BENCHMARK_CAPTURE(pack, unsigned_ui16, "ui16", 1500U);
BENCHMARK_CAPTURE(pack, int_si32, "si32", -1500);

void unpack(benchmark::State& state, const char* name) {
  const smc_code type = SMC::key(name);
  std::array<unsigned char, 32> bytes{0x28, 0x80};
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(bytes);
    benchmark::DoNotOptimize(SMC::unpack_fixed_point(bytes.data(), type));
  }
}
BENCHMARK_CAPTURE(unpack, fp88, "fp88");
BENCHMARK_CAPTURE(unpack, fpe2, "fpe2");
BENCHMARK_CAPTURE(unpack, sp78, "sp78");

}  // namespace

std::vector<kx::Node> kx::compose_machine() {
  return {{std::make_shared<ConstantController>(), {}}};
}

BENCHMARK_MAIN();
