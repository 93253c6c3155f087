// The demonstration market data, in the two forms that the build generates: the document in the
// market file format, and the same spots as a table, so that a call on them needs no parsing.

#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace ximCORE::Data::Demo {

/// The document: 12,782 objects in 1,436,337 bytes.
std::string_view document();

/// Day as year * 10000 + month * 100 + day; the value is the mid that reading bid and ask of the
/// document gives.
struct Quote {
    std::int32_t day;
    float value;
};

/// The spots of one underlying, by day.
struct Series {
    std::string_view ticker;
    std::span<Quote const> quotes;
};

std::span<Series const> series();

}  // namespace ximCORE::Data::Demo
