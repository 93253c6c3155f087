// One Black-Scholes volatility of one underlying on one date, as a source gives it.

#pragma once

#include "core/data/quote.hpp"
#include "core/toolbox/tape.hpp"

namespace ximCORE::Data {

class Underlying;

/// The quoted number is a fraction: 0.2 for 20%.
class BlackScholesVolatility final : public MarketDataQuote {
 public:
    /// With this on, a missing volatility becomes 0, with a warning.
    inline static bool s_set_default_value{false};

    /// `underlying`: not owned.
    BlackScholesVolatility(Toolbox::Date const& date, Underlying const* underlying)
        : MarketDataQuote(date), m_underlying(underlying) {}

    Underlying const* c_get_underlying() const { return m_underlying; }
    [[nodiscard]] bool _c_is_affected(MarketDataPerturbationItem const& item) const override;
    [[nodiscard]] bool c_has_val(Level level) override;

    using MarketDataQuote::eval;
    /// The value through the shifts of this item. False, with `out` untouched, after an ERROR
    /// record.
    [[nodiscard]] bool eval(double& out) { return eval(out, Level::error); }
    /// Adjoint form of it. Forward: as `eval`, and the value goes on the tape. Backward: takes the
    /// value back and adds `adjoint_in`, the derivative by the value, to `*adjoint_out`, if there
    /// is one: per unit of volatility.
    [[nodiscard]] bool aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, double& value,
                             double const& adjoint_in, double* adjoint_out);

 private:
    Underlying const* m_underlying;
};

}  // namespace ximCORE::Data
