// The repo curve of an equity: the place where a financing or dividend term would stand. No source
// feeds it.

#pragma once

#include "core/data/item.hpp"

namespace ximCORE::Data {

class RepoCurve final : public MarketDataItem {
 public:
    /// Always false: there is nothing to be set.
    [[nodiscard]] bool c_is_set() const override { return false; }
};

}  // namespace ximCORE::Data
