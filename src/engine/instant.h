#pragma once

#include <cstdint>
#include <string_view>

#include "engine/parsed.h"

namespace engine {

/// The instant of the wall clock that `text` names, in ns since 1970-01-01T00:00:00Z: as RFC 3339
/// has it ("2026-11-21T15:00:00.25+01:00"), or in seconds since then, with a fraction of at most
/// nine digits. From 1970 to 2261. Pure. Thread: any.
///
/// A leap second is refused: the clock of the host has no instant for it.
Parsed<std::int64_t> parse_instant(std::string_view text);

}  // namespace engine
