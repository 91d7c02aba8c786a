#pragma once

/// The name under which the driver's assertions report themselves.
constexpr const char* kDriverModule = "src/vorn";
