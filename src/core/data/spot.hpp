// The quote of one underlying on one date.

#pragma once

#include <memory>

#include "core/data/quote.hpp"
#include "core/toolbox/tape.hpp"

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

    /// Adjoint form of `eval`. Forward: the shifted value into `value` and on the tape; false, with
    /// `value` untouched and nothing pushed, after an ERROR record. Backward: takes the value back
    /// and adds it times `adjoint_in`, the derivative by the value, to `adjoint_out`. The
    /// adjoint of a spot is per unit of relative move.
    [[nodiscard]] bool aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, double& value,
                             double const& adjoint_in, double& adjoint_out);

 private:
    Underlying const* m_underlying;
};

}  // namespace ximCORE::Data
