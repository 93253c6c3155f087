// Barrier options against closed formulas.

#include <array>
#include <vector>

#include "api/products/product_call.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;

/// The text of a day of the year that begins on 2021-05-03.
std::string day_after_start(int days) {
    constexpr std::array<int, 13> lengths{31, 30, 31, 31, 30, 31, 30, 31, 31, 28, 31, 30, 31};
    int day = 3 + days;
    int month = 5;
    for (int const length : lengths) {
        if (day <= length) break;
        day -= length;
        ++month;
    }
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d", month > 12 ? 2022 : 2021,
                  month > 12 ? month - 12 : month, day);
    return text.data();
}

/// A fixing each week; the last is the maturity, 52 weeks away.
Json::Value weekly_schedule() {
    Json::Value schedule(Json::arrayValue);
    for (int week = 1; week <= 52; ++week) schedule.append(day_after_start(7 * week));
    return schedule;
}

constexpr double c_years = 364.0 / 365.0;
constexpr double c_week = 7.0 / 365.0;

struct BarrierRow {
    char const* payoff;
    char const* kind;
    char const* type;
    double strike;
    double barrier;
    double rebate;
};

void PrintTo(BarrierRow const& row, std::ostream* out) {
    *out << row.payoff << " " << row.kind << " " << row.type;
}

/// Knock-in and knock-out are together the option and the rebate.
double exact_price(BarrierRow const& row) {
    bool const is_call = row.payoff == std::string("CALL_TYPE");
    Side const side = row.type == std::string("DOWN") ? Side::below : Side::above;
    double const barrier = corrected_barrier(side, c_aaa, row.barrier, c_week);
    double const out = barrier_out(is_call, side, c_aaa, row.strike, barrier, c_years);
    double const alive = chance_of_survival(side, c_aaa, barrier, c_years);
    double const vanilla =
        is_call ? call_price(c_aaa, row.strike, c_years) : put_price(c_aaa, row.strike, c_years);
    return row.kind == std::string("KNOCK_OUT") ? out + row.rebate * (1.0 - alive)
                                                : vanilla - out + row.rebate * alive;
}

class BarrierOptionPrice : public ::testing::TestWithParam<BarrierRow> {};

TEST_P(BarrierOptionPrice, AgreesWithTheFormulaAndItsContinuityCorrection) {
    auto const& row = GetParam();
    Json::Value terms;
    terms["PayoffKind"] = row.payoff;
    terms["BarrierKind"] = row.kind;
    terms["BarrierType"] = row.type;
    terms["Strike"] = row.strike;
    terms["BarrierLevel"] = row.barrier;
    terms["Rebate"] = row.rebate;
    terms["Schedule"] = weekly_schedule();
    terms["MaturityDate"] = "2022-05-02";
    ShareMarket const market(c_aaa.spot, c_aaa.volatility);
    expect_price(
        call_route("/GetPrice", market.on(product_request("BARRIER_OPTION_EXAMPLE", terms))),
        exact_price(row));
}

INSTANTIATE_TEST_SUITE_P(All, BarrierOptionPrice,
                         ::testing::Values(BarrierRow{"CALL_TYPE", "KNOCK_OUT", "DOWN", 100, 85, 0},
                                           BarrierRow{"CALL_TYPE", "KNOCK_IN", "DOWN", 90, 85, 3},
                                           BarrierRow{"CALL_TYPE", "KNOCK_OUT", "UP", 95, 130, 5},
                                           BarrierRow{"CALL_TYPE", "KNOCK_IN", "UP", 95, 130, 0},
                                           BarrierRow{"PUT_TYPE", "KNOCK_OUT", "DOWN", 110, 80, 4},
                                           BarrierRow{"PUT_TYPE", "KNOCK_IN", "DOWN", 110, 80, 0},
                                           BarrierRow{"PUT_TYPE", "KNOCK_OUT", "UP", 105, 115, 0},
                                           BarrierRow{"PUT_TYPE", "KNOCK_IN", "UP", 105, 115, 2}),
                         [](auto const& parameter) {
                             return std::string(parameter.param.payoff) + "_" +
                                    parameter.param.kind + "_" + parameter.param.type;
                         });

/// The two dates of a double barrier: half a year (184 days) and a year.
struct CorridorReference {
    double strike, lower, upper, rebate;
    double half = 184.0 / 365.0;

    [[nodiscard]] double chance_inside(Asset const& asset, double years) const {
        return chance_above(asset, lower, years) - chance_above(asset, upper, years);
    }
    /// E[S - strike; inside].
    [[nodiscard]] double gain_inside(Asset const& asset, double years) const {
        return gain_above(asset, strike, lower, years) - gain_above(asset, strike, upper, years);
    }
    /// E[f(S at half); outside then], in the standardised logarithm.
    [[nodiscard]] double outside_at_half(std::function<double(Asset const&)> const& f) const {
        double const total = c_aaa.volatility * std::sqrt(half);
        auto const x = [&](double level) {
            return std::log(level / c_aaa.spot) / total + 0.5 * total;
        };
        auto const g = [&](double z) {
            double const level = c_aaa.spot * std::exp(total * z - 0.5 * total * total);
            return normal_density(z) * f({.spot = level, .volatility = c_aaa.volatility});
        };
        return integrate(g, -9.0, x(lower)) + integrate(g, x(upper), 9.0);
    }
    [[nodiscard]] double never_inside() const {
        return outside_at_half(
            [&](Asset const& asset) { return 1.0 - chance_inside(asset, 1.0 - half); });
    }
    [[nodiscard]] double gain_never_inside() const {
        return outside_at_half([&](Asset const& asset) {
            return asset.spot - strike - gain_inside(asset, 1.0 - half);
        });
    }
};

RouteAnswer price_corridor(CorridorReference const& reference, char const* payoff, char const* kind,
                           std::string const& schedule) {
    Json::Value terms;
    terms["PayoffKind"] = payoff;
    terms["BarrierKind"] = kind;
    terms["Strike"] = reference.strike;
    terms["LowerBarrierLevel"] = reference.lower;
    terms["UpperBarrierLevel"] = reference.upper;
    terms["Rebate"] = reference.rebate;
    terms["Schedule"] = parse_json(schedule);
    ShareMarket const market(c_aaa.spot, c_aaa.volatility);
    return call_route("/GetPrice",
                      market.on(product_request("DOUBLE_BARRIER_OPTION_EXAMPLE", terms)));
}

constexpr CorridorReference c_corridor{
    .strike = 105.0, .lower = 90.0, .upper = 110.0, .rebate = 6.0};

TEST(DoubleBarrierOptionPrice, AKnockInPaysTheGainOrLossInsideTheCorridor) {
    auto const answer = price_corridor(c_corridor, "CALL_TYPE", "KNOCK_IN", R"(["2022-05-03"])");
    double const inside = c_corridor.chance_inside(c_aaa, 1.0);
    expect_price(answer, c_corridor.gain_inside(c_aaa, 1.0) + 6.0 * (1.0 - inside));
}

TEST(DoubleBarrierOptionPrice, WithoutRebateAKnockInMayBeWorthLessThanNothing) {
    CorridorReference reference = c_corridor;
    reference.rebate = 0.0;
    auto const answer = price_corridor(reference, "CALL_TYPE", "KNOCK_IN", R"(["2022-05-03"])");
    expect_price(answer, reference.gain_inside(c_aaa, 1.0));
    EXPECT_LT(mean_of(answer), 0.0);
}

TEST(DoubleBarrierOptionPrice, TwoDatesAgreeWithAnIntegral) {
    constexpr char const* schedule = R"(["2021-11-03", "2022-05-03"])";
    double const never = c_corridor.never_inside();
    double const gain = c_corridor.gain_never_inside();
    double const forward = c_aaa.spot - c_corridor.strike;
    expect_price(price_corridor(c_corridor, "CALL_TYPE", "KNOCK_IN", schedule),
                 forward - gain + 6.0 * never);
    expect_price(price_corridor(c_corridor, "CALL_TYPE", "KNOCK_OUT", schedule),
                 gain + 6.0 * (1.0 - never));
    expect_price(price_corridor(c_corridor, "PUT_TYPE", "KNOCK_IN", schedule),
                 gain - forward + 6.0 * never);
    expect_price(price_corridor(c_corridor, "PUT_TYPE", "KNOCK_OUT", schedule),
                 -gain + 6.0 * (1.0 - never));
}

}  // namespace
