// The correlation of two underlyings on one date. Ordered: (A, B) and (B, A) are two items, with
// values of their own.

#pragma once

#include "core/data/quote.hpp"

namespace ximCORE::Data {

class Underlying;

class Correlation final : public MarketDataQuote {
 public:
    /// With this on, a missing correlation becomes 0.
    inline static bool s_set_default_value{false};

    Correlation(Toolbox::Date const& date, Underlying const* first, Underlying const* second)
        : MarketDataQuote(date), m_first(first), m_second(second) {}

    Underlying const* c_get_first() const { return m_first; }
    Underlying const* c_get_second() const { return m_second; }
    [[nodiscard]] bool _c_is_affected(MarketDataPerturbationItem const& item) const override;
    [[nodiscard]] bool c_has_val(Level level) override;

 private:
    Underlying const* m_first;
    Underlying const* m_second;
};

}  // namespace ximCORE::Data
