// The quote of one underlying on one date.

#pragma once

#include <memory>

#include "core/data/quote.hpp"

namespace ximCORE::Data {

class Underlying;

class Spot final : public MarketDataQuote {
 public:
    /// With these on, a missing spot becomes 0, and 1 for an exchange rate.
    inline static bool s_set_default_value{false};
    inline static bool s_set_default_fx_value{false};

    Spot(Toolbox::Date const& date, Underlying const* underlying)
        : MarketDataQuote(date), m_underlying(underlying) {}
    std::unique_ptr<Spot> c_clone() const { return std::make_unique<Spot>(*this); }

    Underlying const* c_get_underlying() const { return m_underlying; }
    [[nodiscard]] bool _c_is_affected(MarketDataPerturbationItem const& item) const override;
    [[nodiscard]] bool c_has_val(Level level) override;

 private:
    Underlying const* m_underlying;
};

}  // namespace ximCORE::Data
