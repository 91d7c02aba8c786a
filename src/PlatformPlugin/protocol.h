#pragma once

#include <cstdint>

/// How a power plugin is spoken to. Both ends of the connection include it.
namespace platform_plugin {

constexpr const char* kServiceClass = "KxPlatformPlugin";
constexpr std::uint32_t kConnectionType = 0x50505543;  // "PPUC"

/// The one scalar method: a step in, nothing out.
constexpr std::uint32_t kSetStepSelector = 3;

constexpr std::uint32_t kBalancingStep = 0;      ///< the plugin's own power balancing
constexpr std::uint32_t kFirstPStateStep = 100;  ///< + n: P-state n

}  // namespace platform_plugin
