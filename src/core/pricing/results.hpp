// What a pricer reports: the price, the sensitivities by underlying, currency and pair, and the
// flat list of them all.

#pragma once

#include <string>
#include <vector>

#include "core/pricing/mc_result.hpp"
#include "core/toolbox/containers.hpp"

namespace ximCORE::Pricing {

struct RowGreekResult {
    std::string name;
    MCResult result;
};

struct CrossGreekResult {
    std::string first_name;
    std::string second_name;
    MCResult result;
};

/// Prices are in the contract's currency; sensitivities per unit of relative spot move, of
/// volatility, of rate or of correlation. The arrays of a sensitivity that was not asked for are
/// empty.
struct Results {
    using Rows = Toolbox::Array1D<RowGreekResult>;
    using Pairs = Toolbox::Triangle<CrossGreekResult, -1>;

    std::vector<RowGreekResult> results;  ///< the flat report, filled by `Pricer::agregate` alone
    MCResult price;
    Rows rho;       ///< [currency]
    Rows epsilonn;  ///< [underlying], and so to vanna
    Rows delta;
    Rows vega;
    Rows gamma;
    Rows volga;
    Rows vanna;
    Pairs cega;  ///< [underlying][underlying], strict, and so to xvanna
    Pairs xgamma;
    Pairs xvolga;
    Pairs xvanna;
};

}  // namespace ximCORE::Pricing
