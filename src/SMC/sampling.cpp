#include "SMC/SMC.h"

// If a key cannot be resolved, no destructor runs, and the connection stays open until the
// process ends. Kept on purpose: a run whose monitor failed goes on, and its driver with it.
SMC::SMC(const std::list<std::string>& keys) : connection(get_port()) {
  for (const std::string& name : keys) {
    sampled_keys.push_back(resolve(name));
  }
}

void SMC::sample(std::list<float>& samples) {
  samples.clear();
  for (const smc_key_data& key : sampled_keys) {
    samples.push_back(get_float(key));
  }
}
