#pragma once

#include <cstdint>

constexpr std::int64_t kMs = 1'000'000;  // nanoseconds
