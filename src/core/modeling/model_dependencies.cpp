#include "core/modeling/model_dependencies.hpp"

#include "core/data/cache.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Modeling {

namespace {

using Data::AssetKind;
using Data::Level;
using Data::MarketDataCache;

/// Declares one item for each equity-like underlying; false if the kind of one is not known yet.
bool declare_for_equity_likes(std::vector<Data::Underlying*> const& underlyings,
                              auto const& declare) {
    bool is_complete = true;
    for (auto const* underlying : underlyings) {
        if (underlying->c_is_equity_like()) declare(underlying);
        if (underlying->c_get_asset_kind() == AssetKind::none) is_complete = false;
    }
    return is_complete;
}

}  // namespace

bool declare_correlations(Toolbox::Date const& date,
                          std::vector<Data::Underlying*> const& underlyings) {
    bool is_complete = true;
    for (std::size_t i = 0; i < underlyings.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            auto const* correlation = MarketDataCache::s_get().get_correlation(
                date, underlyings[i], underlyings[j], Level::silent);
            if (correlation == nullptr) is_complete = false;
        }
    }
    return is_complete;
}

bool declare_volatility_surfaces(Toolbox::Date const& date,
                                 std::vector<Data::Underlying*> const& underlyings) {
    return declare_for_equity_likes(underlyings, [&date](Data::Underlying const* underlying) {
        MarketDataCache::s_get().get_volatility_surface(date, underlying, Level::silent);
    });
}

bool declare_black_scholes_volatilities(Toolbox::Date const& date,
                                        std::vector<Data::Underlying*> const& underlyings) {
    return declare_for_equity_likes(underlyings, [&date](Data::Underlying const* underlying) {
        MarketDataCache::s_get().get_blackscholes_volatility(date, underlying, Level::silent);
    });
}

}  // namespace ximCORE::Modeling
