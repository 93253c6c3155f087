// A payoff of one level as a portfolio of a zero coupon, puts and calls, priced on the implied
// volatility surface. A library of its own below the contract, whose amounts fall back on it: it
// needs market data alone.

#pragma once

#include <cstdint>
#include <functional>

#include "core/pricing/options.hpp"
#include "core/toolbox/containers.hpp"
#include "core/toolbox/date.hpp"

namespace ximCORE::Data {
class Underlying;
}

namespace ximCORE::Pricing {

/// The settings of the closed forms.
class ICFPricer : public CFPricerOptions {};

class StaticReplication1D {
 public:
    using Payoff = std::function<double(double)>;

    /// Prices are in the currency of the underlying.
    struct Results {
        struct ZeroCoupon {
            Toolbox::Date date;  ///< of the fixing
            double quantity{0.0};
            double price{0.0};  ///< quantity times discount factor
        };
        struct Option {
            Toolbox::Date date;  ///< of the fixing
            double strike{0.0};
            double quantity{0.0};
            double price{0.0};  ///< quantity times option price, which is not discounted
        };

        double price{0.0};  ///< of the whole portfolio
        ZeroCoupon zero_coupon;
        Toolbox::Array1D<Option> puts;         ///< [N], in the order of the grid
        Toolbox::Array1D<Option> calls;        ///< [N], in the order of the grid
        Toolbox::Array1D<double> spots;        ///< [2 N + 1], the levels of the grid
        Toolbox::Array1D<double> payoffs;      ///< at each level
        Toolbox::Array1D<double> replication;  ///< of the portfolio, at each level
    };

    /// A larger grid size is refused: a solve costs about 20 N^3 operations and 100 N^2 bytes.
    static constexpr std::uint64_t c_max_grid_size = 2500;

    /// Decomposes `payoff` on the 2 N + 1 equally spaced levels from forward * lower bound to
    /// forward * upper bound and prices the parts (P. Carr, D. Madan: Towards a theory of
    /// volatility trading, 1998). The bounds of the settings are fractions of the forward, 0.5 for
    /// one half; an upper one below the lower one gives a falling grid. N = 0, and any N with two
    /// equal bounds, is a zero coupon of payoff(forward * upper bound). The portfolio has the value
    /// of the payoff at each level, in between it is linear. It solves the normal equations, whose
    /// condition number grows with about N^4: replication and payoff differ by some 1e-12 of the
    /// level for N = 20, 1e-11 for 50, 1e-8 for 400.
    ///
    /// False, with `results` as they were, after an ERROR record: a market item is missing,
    /// N is above `c_max_grid_size` ("Too many points"), the payoff is not finite at a level, a
    /// level between the ends is negative, a number of the solution is not finite, or the surface
    /// gives no volatility (no time is left).
    [[nodiscard]] static bool compute_carr_madan_price(Toolbox::Date const& today,
                                                       Toolbox::Date const& fixing_date,
                                                       Toolbox::Date const& payment_date,
                                                       Data::Underlying const* underlying,
                                                       Payoff const& payoff, Results& results);

    /// While it lives, systems of equations are kept once solved, up to 100 MB: payoffs on the same
    /// grid, and revaluations that leave the grid as it was, skip the factorisation. Numbers are
    /// the same with and without. One at a time in a process; an inner one has no effect.
    class Reuse {
     public:
        Reuse();
        ~Reuse();
        Reuse(Reuse const&) = delete;
        Reuse& operator=(Reuse const&) = delete;

     private:
        bool m_is_owner;
    };
};

}  // namespace ximCORE::Pricing
