#include "core/pricing/states.hpp"

#include <memory>

#include "core/data/scenario.hpp"

namespace ximCORE::Pricing {

namespace {

using Data::MarketDataPerturbationItem;
using Data::MarketDataShift;

MarketDataPerturbationItem make_perturbation(Contract::ContractInformation const& information,
                                             Modeling::Quantity quantity, std::size_t i,
                                             std::size_t j, double bump_bp) {
    auto const item = [&](auto target, MarketDataShift::Kind kind) {
        return MarketDataPerturbationItem(std::make_shared<decltype(target) const>(target), kind,
                                          MarketDataShift::Unit::basis_point, bump_bp);
    };
    auto const& underlyings = information.equity_like_underlyings;
    switch (quantity) {
        using enum Modeling::Quantity;
        case spot:
            return item(Data::MarketDataSpotPerturbationItem(underlyings.at(i)),
                        MarketDataShift::Kind::hybrid);
        case volatility:
            return item(Data::MarketDataVolatilityPerturbationItem(underlyings.at(i)),
                        MarketDataShift::Kind::additive);
        case correlation:
            return item(
                Data::MarketDataCorrelationPerturbationItem(underlyings.at(i), underlyings.at(j)),
                MarketDataShift::Kind::additive);
        case rate:
            return item(Data::MarketDataYieldPerturbationItem(information.currencies.at(i)),
                        MarketDataShift::Kind::additive);
        case nothing:
            break;
    }
    return {std::shared_ptr<Data::IMarketDataPerturbationItem const>(),
            MarketDataShift::Kind::additive, MarketDataShift::Unit::none, 0.0};
}

}  // namespace

std::vector<MarketDataPerturbationItem> make_perturbations(
    Contract::ContractInformation const& information, Greek const& greek,
    GreekSetting const& setting, Modeling::Bump bump, std::size_t i, std::size_t j) {
    auto const& [first, second] = Modeling::move_table.at(Modeling::index_of(bump));
    std::vector<MarketDataPerturbationItem> items;
    items.push_back(
        make_perturbation(information, first.quantity, i, j, first.sign * setting.first_bp));
    if (second.quantity != Modeling::Quantity::nothing)
        items.push_back(make_perturbation(information, second.quantity,
                                          greek.shape == Shape::pairs ? j : i, j,
                                          second.sign * setting.second_bp));
    return items;
}

}  // namespace ximCORE::Pricing
