// A market with volatility surfaces for the local volatility helper, and what its tests read.

#pragma once

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "core/modeling/dupire_local_volatility_mc_helper.hpp"
#include "core/pricing/options.hpp"
#include "support/hand_made_information.hpp"
#include "support/market.hpp"

namespace ximCORE::Modeling {

/// Parameters of a surface.
struct Smile {
    double rho;
    double eta;
    double gamma;
    double half_variance = 0.02;
};

/// A strong skew without arbitrage: 20% at the forward, 27% a fifth below it after a year.
inline constexpr Smile c_skew{.rho = -0.6, .eta = 0.8, .gamma = 0.5};

class LocalVolatilityCase : public Testing::MarketTest {
 protected:
    using Helper = DupireLocalVolatilityMCHelper;

    LocalVolatilityCase() { set_trials(20); }
    ~LocalVolatilityCase() override {
        Pricing::MCPricerOptions::s_options = {};
        Helper::s_space_size = 1000;
        Helper::s_scale = 10.0;
        Helper::s_cap = 10.0;
        Helper::s_floor = 0.0;
    }

    static void set_trials(std::uint64_t trials) {
        Pricing::MCPricerOptions::s_options = {.trials = trials};
    }

    std::shared_ptr<Data::Underlying> add(std::shared_ptr<Data::Underlying> asset, double spot) {
        set_spot(*asset, spot);
        std::ignore = forward_curve(*asset).get_dependencies();
        std::ignore = surface(*asset);
        information.add_underlying(*asset);
        return asset;
    }

    void correlate(double correlation) {
        for (auto const* first : information.lists.equity_like_underlyings)
            for (auto const* second : information.lists.equity_like_underlyings)
                set_correlation(*first, *second, correlation);
    }

    void set_smile(Data::Underlying const& asset, Smile const& smile) const {
        auto& owner = surface(asset);
        std::ignore = owner.eval(1.0, 0.0);  // makes the smiler
        auto& form = dynamic_cast<Data::StochasticVolatilityInspired&>(*owner.get_smiler());
        form.rho = smile.rho;
        form.eta = smile.eta;
        form.gamma = smile.gamma;
        form.half_variance = smile.half_variance;
        form.one_minus_rho_squared = 1.0 - smile.rho * smile.rho;
    }

    /// Fixings that many days after the start.
    void fix_after(std::initializer_list<int> days) {
        for (int const count : days) {
            Date date = today;
            for (int day = 0; day < count; ++day) ++date;
            information.add_fixing(date);
        }
    }

    void prepare(MCHelper& helper) {
        helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
        helper.switch_to_central();
        ASSERT_TRUE(helper.calibrate(today, *currency("EUR"), information.lists));
    }

    /// Opens the cells (fixing, underlying) alone, and closes the last of each underlying.
    void read_only(MCHelper& helper, std::vector<std::pair<short, short>> const& cells) {
        FixingGrid grid;
        grid.init(information.lists.fixing_dates.size(), 0,
                  information.lists.equity_like_underlyings.size(), 0, 0);
        for (auto const& [fixing, underlying] : cells)
            grid.open_equity_like(
                *information.lists.fixing_dates.at(static_cast<std::size_t>(fixing)),
                dynamic_cast<Data::EquityLikeUnderlying const&>(
                    *information.lists.equity_like_underlyings
                         .at(static_cast<std::size_t>(underlying))
                         ->c_get_impl()));
        grid.filter();
        helper.get_fixing_grid().init(grid);
        ASSERT_TRUE(helper.calibrate(today, *currency("EUR"), information.lists));
    }

    static LocalVolatilityModel const& local(MCHelper const& helper, std::uint64_t underlying) {
        return dynamic_cast<LocalVolatilityModel const&>(
            *helper.c_get_current().volatilities.get(underlying).model);
    }

    static double value(MCHelper& helper, std::uint64_t fixing, std::uint64_t underlying) {
        return helper.get_fixing_grid().c_get_equity_like().get(fixing, underlying).value;
    }

    Testing::HandMadeInformation information;
};

}  // namespace ximCORE::Modeling
