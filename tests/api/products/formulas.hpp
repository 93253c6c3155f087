// Closed prices of lognormal assets without rates and dividends, for comparison with the engines.
// Dates are in years, volatilities fractions.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>

namespace ximAPI::testing {

struct Asset {
    double spot;
    double volatility;
};

inline double normal_density(double x) {
    return std::exp(-0.5 * x * x) / std::sqrt(2.0 * std::acos(-1.0));
}

inline double cumulative_normal(double x) {
    return 0.5 * std::erfc(-x / std::sqrt(2.0));
}

/// Simpson's rule on 2 n intervals.
inline double integrate(std::function<double(double)> const& f, double lower, double upper,
                        int n = 400) {
    double const h = (upper - lower) / (2.0 * n);
    double sum = f(lower) + f(upper);
    for (int i = 1; i < 2 * n; ++i) sum += (i % 2 == 1 ? 4.0 : 2.0) * f(lower + i * h);
    return sum * h / 3.0;
}

/// E[(S - strike); S > level], a call for level = strike (Black and Scholes 1973).
inline double gain_above(Asset const& asset, double strike, double level, double years) {
    double const total = asset.volatility * std::sqrt(years);
    double const d = std::log(asset.spot / level) / total + 0.5 * total;
    return asset.spot * cumulative_normal(d) - strike * cumulative_normal(d - total);
}

inline double call_price(Asset const& asset, double strike, double years = 1.0) {
    return gain_above(asset, strike, strike, years);
}

/// By the parity of put and call.
inline double put_price(Asset const& asset, double strike, double years = 1.0) {
    return call_price(asset, strike, years) - asset.spot + strike;
}

/// P(S > level).
inline double chance_above(Asset const& asset, double level, double years = 1.0) {
    double const total = asset.volatility * std::sqrt(years);
    return cumulative_normal(std::log(asset.spot / level) / total - 0.5 * total);
}

/// P(X < a, Y < b) of two standard normals.
inline double cumulative_bivariate(double a, double b, double correlation) {
    double const rest = std::sqrt(1.0 - correlation * correlation);
    auto const f = [&](double x) {
        return normal_density(x) * cumulative_normal((b - correlation * x) / rest);
    };
    return a < -9.0 ? 0.0 : integrate(f, -9.0, std::min(a, 9.0));
}

/// A call on the smaller of two assets; strike 0 gives its forward (Stulz 1982, "Options on the
/// minimum or the maximum of two risky assets").
inline double call_on_minimum(Asset const& first, Asset const& second, double correlation,
                              double strike, double years = 1.0) {
    double const s1 = first.volatility, s2 = second.volatility, root = std::sqrt(years);
    double const s = std::sqrt(s1 * s1 + s2 * s2 - 2.0 * correlation * s1 * s2);
    double const d = std::log(first.spot / second.spot) / (s * root) + 0.5 * s * root;
    if (strike == 0.0) {
        return first.spot * cumulative_normal(-d) + second.spot * cumulative_normal(d - s * root);
    }
    auto const y = [&](Asset const& asset) {
        double const total = asset.volatility * root;
        return std::log(asset.spot / strike) / total + 0.5 * total;
    };
    double const r1 = (s1 - correlation * s2) / s, r2 = (s2 - correlation * s1) / s;
    return first.spot * cumulative_bivariate(y(first), -d, -r1) +
           second.spot * cumulative_bivariate(y(second), d - s * root, -r2) -
           strike * cumulative_bivariate(y(first) - s1 * root, y(second) - s2 * root, correlation);
}

/// The larger and the smaller of two amounts are together the two.
inline double call_on_maximum(Asset const& first, Asset const& second, double correlation,
                              double strike, double years = 1.0) {
    double const singles =
        strike == 0.0 ? first.spot + second.spot
                      : call_price(first, strike, years) + call_price(second, strike, years);
    return singles - call_on_minimum(first, second, correlation, strike, years);
}

/// A call on w1 S1 + w2 S2: the formula for the second asset, integrated over the first.
inline double call_on_sum(Asset const& first, double w1, Asset const& second, double w2,
                          double correlation, double strike, double years = 1.0) {
    auto const f = [&](double x) {
        double const total = first.volatility * std::sqrt(years);
        double const level = w1 * first.spot * std::exp(total * x - 0.5 * total * total);
        double const seen = correlation * second.volatility * std::sqrt(years);
        Asset const rest{
            .spot = w2 * second.spot * std::exp(seen * x - 0.5 * seen * seen),
            .volatility = second.volatility * std::sqrt(1.0 - correlation * correlation)};
        double const left = strike - level;
        return normal_density(x) * (left <= 0.0 ? rest.spot - left : call_price(rest, left, years));
    };
    return integrate(f, -9.0, 9.0, 2000);
}

enum class Side { below, above };  // of the spot

/// A payoff that dies when the asset meets a barrier that is watched all the time, by reflection:
/// V(S) - S / H V(H^2 / S), V being the price of the payoff on the live side alone. At zero rates
/// these are the eight formulas of Reiner and Rubinstein (1991), "Breaking down the barriers".
inline double knocked_out(Asset const& asset, double barrier,
                          std::function<double(Asset const&)> const& live) {
    Asset const image{.spot = barrier * barrier / asset.spot, .volatility = asset.volatility};
    return live(asset) - asset.spot / barrier * live(image);
}

/// A knocked out call or put.
inline double barrier_out(bool is_call, Side side, Asset const& asset, double strike,
                          double barrier, double years) {
    return knocked_out(asset, barrier, [&](Asset const& a) {
        auto const gain = [&](double level) { return gain_above(a, strike, level, years); };
        if (side == Side::below) {
            if (is_call) return gain(std::max(strike, barrier));
            return barrier < strike ? gain(strike) - gain(barrier) : 0.0;
        }
        if (is_call) return strike < barrier ? gain(strike) - gain(barrier) : 0.0;
        return strike - a.spot + gain(std::min(strike, barrier));
    });
}

/// The chance that the barrier is never met.
inline double chance_of_survival(Side side, Asset const& asset, double barrier, double years) {
    return knocked_out(asset, barrier, [&](Asset const& a) {
        double const above = chance_above(a, barrier, years);
        return side == Side::below ? above : 1.0 - above;
    });
}

/// The barrier that, watched all the time, replaces one watched every `step` years: away from the
/// spot by exp(beta sigma sqrt(step)), beta = -zeta(1/2) / sqrt(2 pi) (Broadie, Glasserman and Kou
/// 1997, "A continuity correction for discrete barrier options").
inline double corrected_barrier(Side side, Asset const& asset, double barrier, double step) {
    double const move = 0.5825971579390106 * asset.volatility * std::sqrt(step);
    return barrier * std::exp(side == Side::below ? -move : move);
}

}  // namespace ximAPI::testing
