#include "core/modeling/helper.hpp"

#include <cmath>
#include <map>
#include <set>
#include <sstream>
#include <utility>

#include "core/contract/information.hpp"
#include "core/toolbox/errors.hpp"
#include "support/market.hpp"

namespace ximCORE::Modeling {
namespace {

using Data::MarketDataForwardPerturbationItem;
using Data::MarketDataSpotPerturbationItem;
using Data::MarketDataYieldPerturbationItem;
using ::testing::ElementsAre;
using Toolbox::SegmentationFaultException;

/// A helper without a numerical method: it records the hooks that a calibration calls, and can
/// refuse one.
class RecordingHelper final : public Helper {
 public:
    RecordingHelper() : Helper(1, 0) {}
    RecordingHelper(RecordingHelper const&) = default;

    void set(Toolbox::Date const&, Toolbox::DayCounter const&,
             Contract::ContractInformation const& information, Contract::CashFlow*) override {
        _set_counts(information);
    }

    std::vector<std::string> calls;
    std::string refused;
    double volatility = 0.2;

 protected:
    bool calibrate_method(Toolbox::Date const&, Contract::ContractInformation const&) override {
        return called("method");
    }
    bool calibrate_model(Toolbox::Date const&, Contract::ContractInformation const&) override {
        return called("model");
    }
    bool _c_calibrate_equity_like_volatility_internal(
        Toolbox::Date const&, Contract::ContractInformation const&, Data::Underlying const*,
        std::unique_ptr<VolatilityModel>& slot) const override {
        if (refused == "volatility") return false;
        slot = std::make_unique<BlackScholesVolatilityModel>(volatility);
        return true;
    }
    bool _calibrate_correlation_matrix_common(Toolbox::Date const&,
                                              Contract::ContractInformation const&) override {
        _get_current().correlations = Toolbox::Triangle<double, -1>(_c_get_nb_factors());
        return called("correlations");
    }
    bool _calibrate_correlation_matrix_internal() override { return called("factors"); }

 private:
    bool called(std::string const& name) {
        calls.push_back(name);
        return name != refused;
    }
};

/// The plainest helper: all hooks as they are in the base.
class PlainHelper final : public Helper {
 public:
    PlainHelper() : Helper(1, 0) {}
    void set(Toolbox::Date const&, Toolbox::DayCounter const&,
             Contract::ContractInformation const& information, Contract::CashFlow*) override {
        _set_counts(information);
    }

 protected:
    bool calibrate_method(Toolbox::Date const&, Contract::ContractInformation const&) override {
        return true;
    }
};

class HelperTest : public Testing::MarketTest {
 protected:
    /// A contract on the underlyings given, fixed and paid after one and two years.
    void set_contract(std::vector<Data::Underlying*> underlyings,
                      std::vector<Data::Currency*> currencies) {
        information.equity_like_underlyings = std::move(underlyings);
        information.currencies = std::move(currencies);
        information.fixing_dates = {&first, &second};
        information.payment_dates = {&first, &second};
        information.maturity_dates = {&second};
        for (auto const* underlying : information.equity_like_underlyings)
            EXPECT_TRUE(forward_curve(*underlying).get_dependencies());
        for (auto const* owner : {euro.get(), dollar.get()}) std::ignore = yield_curve(*owner);
        helper.set(today, Toolbox::DayCounter(), information, nullptr);
    }

    bool calibrate(Helper& target) const { return target.calibrate(today, *euro, information); }

    template <class T>
    static std::vector<T> values(Toolbox::Array1D<T> const& array) {
        return {array.begin(), array.end()};
    }

    double volatility_of(Helper const& target, std::uint64_t underlying) const {
        auto const& slot = target.c_get_current().volatilities.get(underlying);
        return dynamic_cast<BlackScholesVolatilityModel const&>(*slot.model).volatility;
    }

    void shift_yield(Data::Currency const& owner, double percent) const {
        push<MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage,
                                              percent, &owner);
    }

    Date first = one_year;
    Date second = two_years;
    Contract::ContractInformation information;
    std::shared_ptr<Data::Currency> const euro = currency("EUR");
    std::shared_ptr<Data::Currency> const dollar = currency("USD");
    std::shared_ptr<Data::Underlying> const stock = share("AAA");
    std::shared_ptr<Data::Underlying> const foreign = share("BBB", "USD");
    RecordingHelper helper;
};

TEST_F(HelperTest, ACalibrationRunsItsStepsInOrder) {
    set_contract({}, {});
    EXPECT_TRUE(calibrate(helper));
    EXPECT_THAT(helper.calls, ElementsAre("correlations", "factors", "model", "method"));
}

TEST_F(HelperTest, ARefusedStepEndsTheCalibration) {
    set_spot(*stock, 100.0);
    set_contract({stock.get()}, {});
    for (auto const* step : {"correlations", "factors", "volatility", "model", "method"}) {
        helper.calls.clear();
        helper.refused = step;
        EXPECT_FALSE(calibrate(helper)) << step;
    }
    helper.calls.clear();
    helper.refused = "factors";
    EXPECT_FALSE(calibrate(helper));
    EXPECT_THAT(helper.calls, ElementsAre("correlations", "factors"));
}

TEST_F(HelperTest, TheForwardsStandByUnderlyingAndFixingDate) {
    set_spot(*stock, 100.0);
    set_spot(*foreign, 50.0);
    set_contract({stock.get(), foreign.get()}, {});
    shift_yield(*dollar, 1.0);
    ASSERT_TRUE(calibrate(helper));
    auto const& forwards = helper.c_get_current().forwards;
    ASSERT_EQ(forwards.c_get_rows(), 2U);
    ASSERT_EQ(forwards.c_get_cols(), 2U);
    EXPECT_EQ(forwards.get(0, 0), 100.0);
    EXPECT_EQ(forwards.get(0, 1), 100.0);
    EXPECT_NEAR(forwards.get(1, 0), 50.0 * std::exp(-0.01), 1e-12);
    EXPECT_NEAR(forwards.get(1, 1), 50.0 * std::exp(-0.01 * 731.0 / 365.0), 1e-12);
}

TEST_F(HelperTest, ZeroCouponsAndDiscountFactorsFollowTheCurves) {
    set_contract({}, {euro.get(), dollar.get()});
    shift_yield(*dollar, 1.0);
    shift_yield(*euro, -2.0);
    ASSERT_TRUE(calibrate(helper));
    auto const& state = helper.c_get_current();
    ASSERT_EQ(state.zero_coupons.c_get_rows(), 2U);
    ASSERT_EQ(state.zero_coupons.c_get_cols(), 1U);
    EXPECT_NEAR(state.zero_coupons.get(0, 0), std::exp(-0.02 * 731.0 / 365.0), 1e-14);
    EXPECT_NEAR(state.zero_coupons.get(1, 0), std::exp(0.01 * 731.0 / 365.0), 1e-14);
    ASSERT_EQ(helper.c_get_discount_factors().c_get_size(), 2U);
    EXPECT_NEAR(helper.c_get_discount_factors().get(0), std::exp(-0.02), 1e-15);
    EXPECT_NEAR(helper.c_get_discount_factors().get(1), std::exp(-0.02 * 731.0 / 365.0), 1e-15);
}

TEST_F(HelperTest, WithoutCurrenciesTheZeroCouponsAreSkippedAndTheDiscountFactorsFilled) {
    set_contract({}, {});
    ASSERT_TRUE(calibrate(helper));
    EXPECT_EQ(helper.c_get_current().zero_coupons.c_get_rows(), 0U);
    EXPECT_THAT(values(helper.c_get_discount_factors()), ElementsAre(1.0, 1.0));
}

TEST_F(HelperTest, WithoutUnderlyingsForwardsVolatilitiesAndQuantoRanksAreSkipped) {
    set_contract({}, {euro.get()});
    ASSERT_TRUE(calibrate(helper));
    EXPECT_EQ(helper.c_get_current().forwards.c_get_rows(), 0U);
    EXPECT_EQ(helper.c_get_current().volatilities.c_get_size(), 0U);
    EXPECT_EQ(helper.c_get_quanto_ranks().c_get_size(), 0U);
    EXPECT_EQ(helper._c_get_nb_factors(), 0U);
}

TEST_F(HelperTest, TheFactorsAreThoseOfTheUnderlyings) {
    set_spot(*stock, 100.0);
    set_spot(*foreign, 50.0);
    set_contract({stock.get(), foreign.get()}, {euro.get(), dollar.get()});
    EXPECT_EQ(helper._c_get_nb_factors(), 2U);
    EXPECT_EQ(helper._c_get_equity_like_index(1), 1U);
    EXPECT_EQ(helper._c_get_currency_index(0), 2U);
    EXPECT_EQ(helper._c_get_currency_index(1), 2U);
}

TEST_F(HelperTest, ACorrelationIsReadInAnyOrderAndIsOneOnTheDiagonal) {
    EXPECT_EQ(helper._c_get_correlation(5, 5), 1.0);  // needs no triangle
    EXPECT_THROW(std::ignore = helper._c_get_correlation(1, 0), SegmentationFaultException);
    set_spot(*stock, 100.0);
    set_spot(*foreign, 50.0);
    set_contract({stock.get(), foreign.get()}, {});
    ASSERT_TRUE(calibrate(helper));
    EXPECT_EQ(helper._c_get_correlation(1, 0), 0.0);
    EXPECT_EQ(helper._c_get_correlation(0, 1), 0.0);
}

TEST_F(HelperTest, AMissingSpotEndsTheCalibrationWithItsMessage) {
    set_contract({stock.get()}, {});
    EXPECT_FALSE(calibrate(helper));
    EXPECT_THAT(errors(),
                ElementsAre("Cannot find spot at '2023-01-01' for underlying with ticker 'AAA'"));
}

TEST_F(HelperTest, AnUnderlyingWithoutLinkedCurvesEndsTheCalibration) {
    set_contract({}, {});
    auto const unlinked = share("CCC");
    set_spot(*unlinked, 10.0);
    information.equity_like_underlyings = {unlinked.get()};
    helper.set(today, Toolbox::DayCounter(), information, nullptr);
    EXPECT_FALSE(calibrate(helper));
}

TEST_F(HelperTest, TheQuantoRankIsThatOfTheExchangeRate) {
    auto const rate = exchange_rate("USDEUR", "USD", "EUR");
    dynamic_cast<Data::EquityLikeUnderlying&>(*rate->c_get_impl()).set_rank(3);
    ASSERT_TRUE(foreign->set_quanto_exchange_rate(*euro));
    ASSERT_EQ(foreign->c_get_quanto_exchange_rate(), rate);
    set_spot(*stock, 100.0);
    set_spot(*foreign, 50.0);
    set_contract({stock.get(), foreign.get()}, {});
    ASSERT_TRUE(calibrate(helper));
    EXPECT_THAT(values(helper.c_get_quanto_ranks()), ElementsAre(65535, 3));
}

TEST_F(HelperTest, TheRankOfNoQuantoReadsAsMinusOneInItsLowByte) {
    EXPECT_EQ(static_cast<signed char>(Helper::s_no_quanto_rank & 0xFF), -1);
}

TEST_F(HelperTest, TheBaseHooksLeaveVolatilitiesNull) {
    set_spot(*stock, 100.0);
    set_contract({stock.get()}, {});
    PlainHelper plain;
    plain.set(today, Toolbox::DayCounter(), information, nullptr);
    EXPECT_TRUE(calibrate(plain));
    EXPECT_EQ(plain.c_get_current().volatilities.get(0).model, nullptr);
}

TEST_F(HelperTest, TheCalibrationDateIsThatOfTheLastCalibration) {
    EXPECT_EQ(helper.c_get_calibration_date(), nullptr);
    set_contract({}, {});
    ASSERT_TRUE(calibrate(helper));
    ASSERT_NE(helper.c_get_calibration_date(), nullptr);
    EXPECT_EQ(*helper.c_get_calibration_date(), today);
}

TEST_F(HelperTest, ABumpedStateSeesTheScenarioInForceAndLeavesTheCentralStateAlone) {
    set_spot(*stock, 100.0);
    set_contract({stock.get()}, {euro.get()});
    ASSERT_TRUE(calibrate(helper));
    helper.set_delta_up(1);
    helper.switch_to_delta_up(0);
    push<MarketDataSpotPerturbationItem>(Shift::Kind::hybrid, Shift::Unit::basis_point, 100.0,
                                         stock.get());
    helper.volatility = 0.3;
    ASSERT_TRUE(calibrate(helper));
    pop();
    EXPECT_NEAR(helper.c_get_current().forwards.get(0, 0), 101.0, 1e-12);
    EXPECT_EQ(volatility_of(helper, 0), 0.3);
    helper.switch_to_central();
    EXPECT_EQ(helper.c_get_current().forwards.get(0, 0), 100.0);
    EXPECT_EQ(volatility_of(helper, 0), 0.2);
    helper.switch_to_delta_up(0);
    EXPECT_NEAR(helper.c_get_current().forwards.get(0, 0), 101.0, 1e-12);
}

TEST_F(HelperTest, EachNamedOperationReachesAStateOfItsOwn) {
    std::set<Helper::Calibration const*> states{&helper.c_get_current()};
    std::size_t const n = 3;
#define XIM_ROW(name)                           \
    helper.set_##name(n);                       \
    for (std::size_t i = 0; i < n; ++i) {       \
        helper.switch_to_##name(i);             \
        states.insert(&helper.c_get_current()); \
    }
#define XIM_PAIR(name)                              \
    helper.set_##name(n);                           \
    for (std::size_t i = 1; i < n; ++i) {           \
        for (std::size_t j = 0; j < i; ++j) {       \
            helper.switch_to_##name(i, j);          \
            states.insert(&helper.c_get_current()); \
        }                                           \
    }
    XIM_ROW_BUMPS(XIM_ROW)
    XIM_PAIR_BUMPS(XIM_PAIR)
#undef XIM_ROW
#undef XIM_PAIR
    EXPECT_EQ(states.size(), 1 + 14 * 3 + 14 * 3);
}

TEST_F(HelperTest, AnIndexOutsideWhatWasAllocatedRaises) {
    EXPECT_THROW(helper.switch_to_delta_up(0), SegmentationFaultException);
    helper.set_delta_up(2);
    EXPECT_THROW(helper.switch_to_delta_up(2), SegmentationFaultException);
    helper.set_cega_up(2);
    EXPECT_NO_THROW(helper.switch_to_cega_up(1, 0));
    EXPECT_THROW(helper.switch_to_cega_up(1, 1), SegmentationFaultException);
    EXPECT_THROW(helper.switch_to_cega_up(0, 1), SegmentationFaultException);
    EXPECT_THROW(helper.switch_to_cega_up(2, 0), SegmentationFaultException);
}

TEST_F(HelperTest, ARaisedSelectionLeavesTheStateInForce) {
    helper.set_delta_up(1);
    helper.switch_to_delta_up(0);
    auto const* const before = &helper.c_get_current();
    EXPECT_THROW(helper.switch_to_delta_up(7), SegmentationFaultException);
    EXPECT_EQ(&helper.c_get_current(), before);
}

TEST_F(HelperTest, AllocatingNoneLeavesTheStatesAlone) {
    helper.set_vega_up(2);
    helper.switch_to_vega_up(1);
    auto const* const before = &helper.c_get_current();
    helper.set_vega_up(0);
    EXPECT_EQ(&helper.c_get_current(), before);
    EXPECT_NO_THROW(helper.switch_to_vega_up(1));
}

TEST_F(HelperTest, ReallocatingTheStatesInForcePutsTheCentralStateInForce) {
    auto const* const central = &helper.c_get_current();
    helper.set_vega_up(2);
    helper.switch_to_vega_up(1);
    helper.set_vega_up(1);
    EXPECT_EQ(&helper.c_get_current(), central);
    EXPECT_THROW(helper.switch_to_vega_up(1), SegmentationFaultException);
}

TEST_F(HelperTest, ACopyIsDeepAndPointsIntoItself) {
    set_spot(*stock, 100.0);
    set_contract({stock.get()}, {euro.get()});
    ASSERT_TRUE(calibrate(helper));
    helper.set_volga_down(1);
    helper.switch_to_volga_down(0);
    helper.volatility = 0.1;
    ASSERT_TRUE(calibrate(helper));

    RecordingHelper copy(helper);
    EXPECT_NE(&copy.c_get_current(), &helper.c_get_current());
    EXPECT_EQ(volatility_of(copy, 0), 0.1);
    EXPECT_EQ(copy.c_get_discount_factors().c_get_size(), 2U);
    EXPECT_EQ(*copy.c_get_calibration_date(), today);

    helper.volatility = 0.9;
    ASSERT_TRUE(calibrate(helper));
    EXPECT_EQ(volatility_of(copy, 0), 0.1);
    copy.switch_to_central();
    EXPECT_EQ(volatility_of(copy, 0), 0.2);
    EXPECT_EQ(copy.c_get_current().forwards.get(0, 1), 100.0);
}

TEST_F(HelperTest, ACopyInThePairStateStandsInItsOwnPair) {
    helper.set_cross_delta_up_vega_down(3);
    helper.switch_to_cross_delta_up_vega_down(2, 1);
    RecordingHelper copy(helper);
    auto const* const in_force = &copy.c_get_current();
    copy.switch_to_central();
    copy.switch_to_cross_delta_up_vega_down(2, 1);
    EXPECT_EQ(&copy.c_get_current(), in_force);
    EXPECT_NE(in_force, &helper.c_get_current());
}

TEST(Bump, RowsComeFirstThenPairs) {
    EXPECT_EQ(nb_row_bumps, 14U);
    EXPECT_EQ(nb_pair_bumps, 14U);
    EXPECT_EQ(index_of(Bump::delta_up), 0U);
    EXPECT_EQ(index_of(Bump::cega_up), nb_row_bumps);
    EXPECT_TRUE(is_row(Bump::delta_up_vega_down));
    EXPECT_FALSE(is_row(Bump::cega_up));
}

/// Reads the moves of a state off its name: each "up" or "down" belongs to the word before it.
Moves moves_of_name(std::string name) {
    Moves moves{};
    std::size_t next = 0;
    std::map<std::string, Quantity> const words{
        {"delta", Quantity::spot},      {"gamma", Quantity::spot},
        {"vega", Quantity::volatility}, {"volga", Quantity::volatility},
        {"rho", Quantity::rate},        {"cega", Quantity::correlation}};
    Quantity quantity = Quantity::nothing;
    std::stringstream stream(name);
    for (std::string word; std::getline(stream, word, '_');) {
        if (words.contains(word)) quantity = words.at(word);
        if (word == "up" || word == "down")
            moves.at(next++) = {quantity, static_cast<signed char>(word == "up" ? 1 : -1)};
    }
    return moves;
}

TEST(Bump, EachStateMovesWhatItsNameSays) {
    std::vector<std::string> names;
#define XIM_NAME(name) names.emplace_back(#name);
    XIM_ROW_BUMPS(XIM_NAME)
    XIM_PAIR_BUMPS(XIM_NAME)
#undef XIM_NAME
    ASSERT_EQ(names.size(), nb_bumps);
    for (std::size_t bump = 0; bump < nb_bumps; ++bump) {
        auto const expected = moves_of_name(names[bump]);
        for (std::size_t i = 0; i < 2; ++i) {
            EXPECT_EQ(move_table[bump][i].quantity, expected[i].quantity) << names[bump];
            EXPECT_EQ(move_table[bump][i].sign, expected[i].sign) << names[bump];
        }
    }
}

TEST(VolatilityModel, CopiesAreIndependent) {
    BlackScholesTermStructureVolatilityModel model;
    model.volatilities = Toolbox::Array1D<double>(2);
    model.volatilities.unsafe_get(1) = 0.4;
    auto const copy = model.c_clone();
    model.volatilities.unsafe_get(1) = 0.5;
    EXPECT_EQ(
        dynamic_cast<BlackScholesTermStructureVolatilityModel const&>(*copy).volatilities.get(1),
        0.4);
    VolatilitySlot slot;
    VolatilitySlot const empty(slot);
    EXPECT_EQ(empty.model, nullptr);
    slot.model = std::make_unique<BlackScholesVolatilityModel>(0.3);
    VolatilitySlot other;
    other = slot;
    EXPECT_NE(other.model, slot.model);
    EXPECT_EQ(dynamic_cast<BlackScholesVolatilityModel const&>(*other.model).volatility, 0.3);
}

}  // namespace
}  // namespace ximCORE::Modeling
