#pragma once

#include <cstdint>

namespace engine {

constexpr std::int64_t kNsPerMs = 1'000'000;
constexpr std::int64_t kNsPerSecond = 1'000'000'000;

}  // namespace engine
