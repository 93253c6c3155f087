// "GetHestonImpliedVolatility": the smile of given Heston parameters, without any market data.

#include "core/toolbox/formulas/heston.hpp"

#include <algorithm>
#include <cmath>

#include "api/frame.hpp"
#include "core/toolbox/log.hpp"
#include "core/toolbox/math.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {

namespace {

using ximCORE::Toolbox::HestonPricer;
using ximCORE::Toolbox::Log;
using ximCORE::Toolbox::MarketParameters;
using ximCORE::Toolbox::Math;
using ximCORE::Toolbox::Volatility;

constexpr unsigned c_points = 4096;
constexpr double c_frequency_step = 0.25;
constexpr double c_damping = 1.5;

/// A strike over a spot of 0 is no number, and without time to go there is no volatility. False
/// after an ERROR record.
bool is_above_zero(float value, char const* key) {
    if (value > 0.0F) {
        return true;
    }
    Log::s_log(Log::Level::ERROR, "Invalid ", key);
    return false;
}

double absolute(float percent) {
    return Math::get_absolute(static_cast<double>(percent));
}

MarketParameters market_of(HestonImpliedVolatilityResults const& record) {
    double const maturity = static_cast<double>(record.MaturityTime);
    double const spot = static_cast<double>(record.InitialSpot);
    return {.maturity = maturity,
            .spot = spot,
            .forward = spot * std::exp(absolute(record.RiskFreeRate) * maturity)};
}

HestonPricer::Parameters parameters_of(HestonImpliedVolatilityResults const& record) {
    // Relied on: the long-term volatility is squared in single precision
    auto const long_term_volatility = static_cast<float>(absolute(record.LongTermVolatility));
    return {.maturity = static_cast<double>(record.MaturityTime),
            .mean_reversion_rate = static_cast<double>(record.MeanReversionRate),
            .variance_volatility = absolute(record.VarianceVolatility),
            .initial_volatility = absolute(record.InitialVolatility),
            .long_term_variance = static_cast<double>(long_term_volatility * long_term_volatility),
            .correlation = absolute(record.SpotVarianceCorrelation)};
}

/// The straight line through the first point of the slice that is not below the space, and the one
/// behind it; without these two, and below the whole slice, the value stays.
void interpolate(std::vector<Volatility> const& slice, Volatility::SpaceKind space_kind,
                 Volatility::ValueKind value_kind, OptionSpaceValue& entry) {
    double const x = static_cast<double>(entry.Space);
    if (slice.empty() || !(x >= slice.front().c_get(space_kind))) {
        return;
    }
    auto const first =
        std::partition_point(slice.begin(), slice.end(),
                             [&](Volatility const& point) { return x > point.c_get(space_kind); });
    if (first == slice.end() || std::next(first) == slice.end()) {
        return;
    }
    auto const second = std::next(first);
    // Relied on: the line goes through the two points behind a space that lies between two
    double const x0 = first->c_get(space_kind);
    double const y0 = first->c_get(value_kind);
    double const slope = (second->c_get(value_kind) - y0) / (second->c_get(space_kind) - x0);
    entry.Value = static_cast<float>(y0 + (x - x0) * slope);
}

bool fill(HestonImpliedVolatilityResults& results) {
    if (!is_above_zero(results.InitialSpot, "InitialSpot") ||
        !is_above_zero(results.MaturityTime, "MaturityTime")) {
        return false;
    }
    std::vector<Volatility> slice;
    HestonPricer::slice(market_of(results), parameters_of(results), slice, c_points,
                        c_frequency_step, c_damping);
    for (OptionSpaceValue& entry : results.Slice) {
        interpolate(slice, static_cast<Volatility::SpaceKind>(results.SpaceKind),
                    static_cast<Volatility::ValueKind>(results.ValueKind), entry);
    }
    return true;
}

}  // namespace

}  // namespace ximAPI

bool GetHestonImpliedVolatility(ximAPI::HestonImpliedVolatilityResults& results,
                                std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request("GetHestonImpliedVolatility", logs,
                                    [&]() -> bool { return ximAPI::fill(results); });
}
