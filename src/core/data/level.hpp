// How loudly a lookup of market data reports what it does not find.

#pragma once

#include <cstdint>

namespace ximCORE::Data {

/// The lookup answers null or false at every level; the level only sets the record that it leaves
/// in the log.
enum class Level : std::uint8_t { silent, warning, error };

}  // namespace ximCORE::Data
