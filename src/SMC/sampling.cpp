#include "SMC/SMC.h"

// If a key cannot be resolved, no destructor runs, and the connection stays open until the
// process ends. Kept on purpose: a run whose monitor failed goes on, and its driver with it.
SMC::SMC(const std::list<std::string>& keys) : connection(get_port()) {
  for (const std::string& name : keys) {
    sampled_keys.push_back(resolve(name));
  }
}

// The list's nodes are used again: a sampling thread allocates nothing after its first sample.
void SMC::sample(std::list<float>& samples) {
  std::list<float> spare;
  spare.swap(samples);
  for (const smc_key_data& key : sampled_keys) {
    const float value = get_float(key);
    if (spare.empty()) {
      samples.push_back(value);
    } else {
      spare.front() = value;
      samples.splice(samples.end(), spare, spare.begin());
    }
  }
}
