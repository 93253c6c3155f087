// A contract on the test market, priced by the engine of the settings; every test starts and ends
// with the settings at their start values.

#pragma once

#include <memory>
#include <string>
#include <tuple>

#include "core/contract/contract.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/modeling/model.hpp"
#include "core/pricing/mc_pricer.hpp"
#include "core/pricing/options.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"
#include "support/tree_builder.hpp"

namespace ximCORE::Pricing {

/// Rates are -3 % with the sign of the curves: one unit in t years is worth exp(-0.03 t) today, in
/// every currency asked for by `add_currency`.
class PricingTest : public Testing::MarketTest {
 protected:
    PricingTest() { reset_settings(); }
    ~PricingTest() override { reset_settings(); }

    static void reset_settings() {
        PricerOptions::s_options = {};
        MCPricerOptions::s_options = {.trials = 1000};
        Modeling::MCHelper::s_seed = 23051994;
    }

    static constexpr double c_rate = 0.03;

    void add_currency(std::string const& ticker) {
        auto const owner = currency(ticker);
        std::ignore = yield_curve(*owner);
        push<Data::MarketDataYieldPerturbationItem>(
            Shift::Kind::additive, Shift::Unit::percentage, -100.0 * c_rate,
            static_cast<Data::Currency const*>(owner.get()));
    }

    void add_market(Data::Underlying const& asset, double spot, double volatility) {
        set_spot(asset, spot);
        set_volatility(asset, volatility);
        std::ignore = forward_curve(asset).get_dependencies();
        std::ignore = surface(asset);
    }

    std::shared_ptr<Data::Underlying> add_share(std::string const& ticker, double spot,
                                                double volatility,
                                                std::string const& currency_ticker = "EUR") {
        auto asset = share(ticker, currency_ticker);
        add_market(*asset, spot, volatility);
        return asset;
    }

    /// Both orders of the pair.
    void correlate(Data::Underlying const& first, Data::Underlying const& second, double value) {
        set_correlation(first, second, value);
        set_correlation(second, first, value);
    }

    /// A contract in EUR whose market objects are resolved.
    std::unique_ptr<Contract::Contract> contract(Testing::TreeBuilder& tree, int root) {
        auto result = std::make_unique<Contract::Contract>(today, "EUR");
        EXPECT_TRUE(result->set(tree.build(root)));
        EXPECT_TRUE(result->get_dependencies());
        return result;
    }

    /// A contract priced from scratch under the settings in force; the pricer holds the results. A
    /// simulation runs on `chosen_engine`, unless the settings ask for the reference.
    std::unique_ptr<Pricer> run(Contract::Contract& priced,
                                Modeling::ModelName name = Modeling::ModelName::black_scholes) {
        auto const model = Modeling::get_model(today, name);
        auto pricer = get_pricer();
        if (chosen_engine == MCOptions::Engine::reference)
            MCPricerOptions::s_options.engine = chosen_engine;
        EXPECT_TRUE(model->get_dependencies(priced));
        EXPECT_TRUE(pricer->run(priced, model.get()));
        return pricer;
    }

    double years(Date const& date) const {
        return Toolbox::DayCounter().c_year_fraction(today, date);
    }

    MCOptions::Engine chosen_engine{MCOptions::Engine::automatic};
};

/// A fixture whose tests run on each engine of the simulation.
template <class Fixture>
class OnEachEngine : public Fixture, public testing::WithParamInterface<MCOptions::Engine> {
 protected:
    OnEachEngine() { this->chosen_engine = GetParam(); }
};
inline auto const each_engine =
    testing::Values(MCOptions::Engine::automatic, MCOptions::Engine::reference);
inline std::string engine_name(testing::TestParamInfo<MCOptions::Engine> const& parameter) {
    return parameter.param == MCOptions::Engine::automatic ? "InBlocks" : "OneByOne";
}

}  // namespace ximCORE::Pricing
