#include "core/pricing/static_replication.hpp"

#include <Eigen/QR>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "core/data/cache.hpp"
#include "core/data/curves/forward_curve.hpp"
#include "core/data/curves/yield_curve.hpp"
#include "core/data/missing.hpp"
#include "core/data/spot.hpp"
#include "core/data/surfaces/implied_volatility_surface.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Pricing {

namespace {

using Data::Level;
using Eigen::Index;
using Eigen::MatrixXd;
using Eigen::VectorXd;
using Toolbox::Date;
using Toolbox::Volatility;
using Results = StaticReplication1D::Results;

bool refuse(auto const&... reason) {
    return Data::missing_text(Level::error, "Contract non eligible to static replication method",
                              reason...);
}

// Market

struct Market {
    Data::ImpliedVolatilitySurface* surface;
    Toolbox::MarketParameters parameters;  // to the fixing date
    double fixing_zero_coupon;
    double payment_zero_coupon;
};

bool read_market(Date const& today, Date const& fixing_date, Date const& payment_date,
                 Data::Underlying const& underlying, Market& market) {
    if (!underlying.c_has_currency(Level::error)) return false;
    auto& cache = Data::MarketDataCache::s_get();
    auto* const yield_curve =
        cache.get_yield_curve(today, underlying.c_get_currency().get(), Level::error);
    auto* const spot = cache.get_spot(today, &underlying, Level::error);
    auto* const forward_curve = cache.get_forward_curve(today, &underlying, Level::error);
    market.surface = cache.get_volatility_surface(today, &underlying, Level::error);
    if (yield_curve == nullptr || spot == nullptr || forward_curve == nullptr ||
        market.surface == nullptr)
        return false;
    if (!spot->eval(market.parameters.spot, Level::error) ||
        !forward_curve->eval_absolute(fixing_date, market.parameters.forward))
        return false;
    market.parameters.maturity = underlying.c_get_day_counter().c_year_fraction(today, fixing_date);
    market.fixing_zero_coupon = yield_curve->eval_zero_coupon(fixing_date);
    market.payment_zero_coupon = yield_curve->eval_zero_coupon(payment_date);
    return true;
}

// Levels and payoffs

/// 2 N + 1 levels from `lower` to `upper`, both exact, counted from the end that is the larger in
/// absolute value; `upper` alone for N = 0.
VectorXd make_levels(double lower, double upper, Index grid_size) {
    Index const last = 2 * grid_size;
    double const step = (upper - lower) / static_cast<double>(last);
    bool const from_top = std::abs(lower) > std::abs(upper);
    VectorXd levels(last + 1);
    for (Index i = 0; i < last; ++i)
        levels[i] = from_top ? upper - static_cast<double>(last - i) * step
                             : lower + static_cast<double>(i) * step;
    if (from_top) levels[0] = lower;
    levels[last] = upper;
    return levels;
}

bool is_one_level(VectorXd const& levels) {
    return levels[0] == levels[levels.size() - 1];
}

bool make_payoffs(VectorXd const& levels, StaticReplication1D::Payoff const& payoff,
                  VectorXd& payoffs) {
    payoffs.resize(levels.size());
    for (Index i = 0; i < levels.size(); ++i) payoffs[i] = payoff(levels[i]);
    for (Index i = 0; i < levels.size(); ++i)
        if (!std::isfinite(payoffs[i]))
            return refuse("Because the payoff is not finite at level ", levels[i]);
    return true;
}

// Weights

/// What each part of the portfolio pays at each level: a column of ones, the puts struck at levels
/// 1 to N, the calls struck at levels N to 2 N - 1. With both options at the middle level the
/// portfolios are all functions that are linear between the levels.
MatrixXd make_basis(VectorXd const& levels) {
    Index const size = levels.size();
    Index const grid_size = size / 2;
    MatrixXd basis(size, size);
    basis.col(0).setOnes();
    for (Index j = 1; j <= grid_size; ++j)
        basis.col(j) = (levels[j] - levels.array()).max(0.0).matrix();
    for (Index j = grid_size + 1; j < size; ++j)
        basis.col(j) = (levels.array() - levels[j - 1]).max(0.0).matrix();
    return basis;
}

using Factors = Eigen::HouseholderQR<MatrixXd>;

/// Of A' A, whose two halves are one product.
Factors factorise(MatrixXd const& basis) {
    MatrixXd normal = MatrixXd::Zero(basis.cols(), basis.cols());
    normal.selfadjointView<Eigen::Lower>().rankUpdate(basis.transpose());
    normal.triangularView<Eigen::StrictlyUpper>() = normal.transpose();
    return Factors(normal);
}

/// The factors kept by a `Reuse`, oldest first.
class KeptFactors {
 public:
    /// Those of the levels; null when they are not kept.
    Factors const* c_find(VectorXd const& levels) const {
        auto const found = std::ranges::find_if(m_entries, [&](Entry const& entry) {
            return entry.levels.size() == levels.size() && entry.levels == levels;
        });
        return found == m_entries.end() ? nullptr : &found->factors;
    }
    Factors const& keep(VectorXd const& levels, Factors factors) {
        std::size_t total = count_of(levels);
        for (auto const& entry : m_entries) total += count_of(entry.levels);
        for (; total > c_max_count && !m_entries.empty(); m_entries.erase(m_entries.begin()))
            total -= count_of(m_entries.front().levels);
        return m_entries.emplace_back(levels, std::move(factors)).factors;
    }

 private:
    struct Entry {
        Entry(VectorXd of, Factors kept) : levels(std::move(of)), factors(std::move(kept)) {}
        VectorXd levels;
        Factors factors;
    };
    static constexpr std::size_t c_max_count = 12'500'000;  // numbers of 8 bytes

    static std::size_t count_of(VectorXd const& levels) {
        return static_cast<std::size_t>(levels.size() * levels.size());
    }

    std::vector<Entry> m_entries;
};

std::unique_ptr<KeptFactors> s_kept;

VectorXd solve(VectorXd const& levels, VectorXd const& payoffs) {
    // Relied on: levels that are all the same are the zero coupon of their one payoff
    if (is_one_level(levels)) return payoffs[0] * VectorXd::Unit(levels.size(), 0);
    MatrixXd const basis = make_basis(levels);
    VectorXd const right_side = basis.transpose() * payoffs;
    if (s_kept == nullptr) return factorise(basis).solve(right_side);
    auto const* factors = s_kept->c_find(levels);
    if (factors == nullptr) factors = &s_kept->keep(levels, factorise(basis));
    return factors->solve(right_side);
}

// Portfolio

Toolbox::Array1D<double> make_array(VectorXd const& values) {
    Toolbox::Array1D<double> array(static_cast<std::uint64_t>(values.size()));
    std::ranges::copy(values, array.begin());
    return array;
}

/// Adds the options of one kind with these strikes and quantities.
bool add_options(Market const& market, Date const& date, Volatility::ValueKind kind,
                 VectorXd const& strikes, VectorXd const& quantities,
                 Toolbox::Array1D<Results::Option>& options, Results& results) {
    double const sign = kind == Volatility::ValueKind::PUT_PRICE ? 1.0 : -1.0;
    options = Toolbox::Array1D<Results::Option>(static_cast<std::uint64_t>(strikes.size()));
    for (Index i = 0; i < strikes.size(); ++i) {
        auto& option = options.unsafe_get(static_cast<std::uint64_t>(i));
        // Relied on: options on exchange rates carry no foreign discounting
        auto const value =
            market.surface->eval(market.parameters, strikes[i], Volatility::SpaceKind::STRIKE);
        option.date = date;
        option.strike = value.c_get(Volatility::SpaceKind::STRIKE);
        option.quantity = quantities[i];
        // what is not held needs no volatility, which a strike of 0 has none of
        if (option.quantity != 0.0) option.price = option.quantity * value.c_get(kind);
        if (!std::isfinite(option.price)) return refuse("Volatility dynamic is required");
        results.price += option.price;
        for (std::uint64_t k = 0; k < results.spots.c_get_size(); ++k)
            results.replication.unsafe_get(k) +=
                option.quantity * std::max(sign * (option.strike - results.spots.get(k)), 0.0);
    }
    return true;
}

bool make_portfolio(Market const& market, Date const& date, VectorXd const& levels,
                    VectorXd const& weights, Results& results) {
    Index const grid_size = levels.size() / 2;
    results.zero_coupon = {date, weights[0], weights[0] * market.fixing_zero_coupon};
    results.price = results.zero_coupon.price;
    results.spots = make_array(levels);
    results.replication = make_array(VectorXd::Constant(levels.size(), weights[0]));
    return add_options(market, date, Volatility::ValueKind::PUT_PRICE, levels.segment(1, grid_size),
                       weights.segment(1, grid_size), results.puts, results) &&
           add_options(market, date, Volatility::ValueKind::CALL_PRICE,
                       levels.segment(grid_size, grid_size), weights.tail(grid_size), results.calls,
                       results);
}

/// Whether the levels between the ends can be strikes: a negative one has no option price.
bool check_strikes(VectorXd const& levels) {
    Index const nb_strikes = levels.size() - 2;
    if (nb_strikes < 1 || is_one_level(levels)) return true;
    if (!levels.allFinite()) return refuse("Because the grid of levels is not finite");
    return levels.segment(1, nb_strikes).minCoeff() >= 0.0 ||
           refuse("Because the grid of levels has a negative strike");
}

}  // namespace

bool StaticReplication1D::compute_carr_madan_price(Date const& today, Date const& fixing_date,
                                                   Date const& payment_date,
                                                   Data::Underlying const* underlying,
                                                   Payoff const& payoff, Results& results) {
    auto const& options = ICFPricer::s_options;
    if (options.moneyness_grid_size > c_max_grid_size)
        return Data::missing_text(Level::error, "Too many points");
    Market market{};
    if (!read_market(today, fixing_date, payment_date, *underlying, market)) return false;
    double const forward = market.parameters.forward;
    VectorXd const levels =
        make_levels(forward * options.grid_lower_bound, forward * options.grid_upper_bound,
                    static_cast<Index>(options.moneyness_grid_size));
    VectorXd payoffs;
    if (!check_strikes(levels) || !make_payoffs(levels, payoff, payoffs)) return false;
    VectorXd const weights = solve(levels, payoffs);
    if (!weights.allFinite()) return refuse("Because the quantities are not finite");

    Results portfolio;
    portfolio.payoffs = make_array(payoffs);
    if (!make_portfolio(market, fixing_date, levels, weights, portfolio)) return false;
    // Relied on: only a payment after the fixing is brought back from its date
    if (payment_date.c_cmp(fixing_date) == 1)
        portfolio.price =
            (market.payment_zero_coupon / market.fixing_zero_coupon) * portfolio.price;
    results = std::move(portfolio);
    return true;
}

StaticReplication1D::Reuse::Reuse() : m_is_owner(s_kept == nullptr) {
    if (m_is_owner) s_kept = std::make_unique<KeptFactors>();
}

StaticReplication1D::Reuse::~Reuse() {
    if (m_is_owner) s_kept.reset();
}

}  // namespace ximCORE::Pricing
