// "GetModelImpliedVolatility": the smile of one maturity as a model prices it, beside that of the
// market.

#include "api/bridge/results.hpp"
#include "api/entries/pricing.hpp"
#include "api/frame.hpp"
#include "core/data/cache.hpp"
#include "core/data/curves/forward_curve.hpp"
#include "core/data/spot.hpp"
#include "core/data/surfaces/implied_volatility_surface.hpp"
#include "core/data/underlying.hpp"
#include "core/pricing/contract_ladder.hpp"
#include "core/toolbox/log.hpp"
#include "ximAPI/cashflow.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {

namespace {

using Toolkit::PricingCase;
using ximCORE::Data::Level;
using ximCORE::Data::MarketDataCache;
using ximCORE::Data::MarketDataShift;
using ximCORE::Pricing::ContractLadderResults;
using ximCORE::Pricing::PricerOptions;
using ximCORE::Toolbox::Date;
using ximCORE::Toolbox::Log;
using ximCORE::Toolbox::MarketParameters;
using ximCORE::Toolbox::Volatility;

constexpr char const* c_currency = "USD";
constexpr char const* c_strike = "strike";
constexpr std::size_t c_max_points = 100'000;

bool fail(char const* message) {
    Log::s_log(Log::Level::ERROR, message);
    return false;
}

/// Prices alone while it lives: the sensitivities of the settings come back at its end.
class PricesOnly {
 public:
    PricesOnly() { PricerOptions::s_options.greeks = {}; }
    ~PricesOnly() { PricerOptions::s_options = m_options; }
    PricesOnly(PricesOnly const&) = delete;
    PricesOnly& operator=(PricesOnly const&) = delete;

 private:
    ximCORE::Pricing::Options m_options = PricerOptions::s_options;
};

/// A call (put) whose strike is a feature of the contract.
Contract make_vanilla(ModelImpliedVolatilityResults const& results, Model const& model) {
    auto const spot = ximDSL::Spot(results.Ticker, results.MaturityDate, "");
    auto const strike = ximDSL::CstRef(c_strike, 0.0F);
    bool const is_call = results.PayoffKind == PayoffKind::CALL_TYPE;
    auto const payoff = ximDSL::Max(is_call ? spot - strike : strike - spot, 0.0F);
    Contract contract;
    contract.Date = model.CalibrationDate;
    contract.PremiumCurrency = c_currency;
    contract.Product =
        std::make_unique<CashFlow>(ximDSL::Pay(payoff, results.MaturityDate, c_currency));
    return contract;
}

/// What the market says about one maturity.
class Market {
 public:
    Market(ModelImpliedVolatilityResults const& results, Model const& model)
        : m_ticker(results.Ticker),
          m_date(model.CalibrationDate),
          m_maturity(results.MaturityDate) {}

    [[nodiscard]] bool c_is_ahead() const { return m_date < m_maturity; }

    /// Asks for what `read` reads. True once the underlying is known well enough.
    [[nodiscard]] bool c_declare() const {
        auto& cache = MarketDataCache::s_get();
        auto const underlying = cache.get_underlying(m_ticker, Level::silent);
        std::ignore = cache.get_volatility_surface(m_date, underlying.get(), Level::silent);
        return cache.get_forward_curve(m_date, underlying.get(), Level::silent)->get_dependencies();
    }

    /// False after an ERROR record for what is missing, and for levels that give no moneyness.
    [[nodiscard]] bool read() {
        auto& cache = MarketDataCache::s_get();
        auto const underlying = cache.get_underlying(m_ticker, Level::error);
        auto& [maturity, spot, forward] = m_parameters;
        if (!underlying->c_has_impl(Level::error) || !underlying->c_has_day_counter(Level::error) ||
            !cache.get_spot(m_date, underlying.get(), Level::error)->eval(spot, Level::error)) {
            return false;
        }
        auto* const curve = cache.get_forward_curve(m_date, underlying.get(), Level::error);
        if (!underlying->c_is_equity_like() || !curve->eval_absolute(m_maturity, forward)) {
            return fail("Cannot imply a volatility without a forward");
        }
        maturity = underlying->c_get_day_counter().c_year_fraction(m_date, m_maturity);
        m_surface = cache.get_volatility_surface(m_date, underlying.get(), Level::error);
        return (spot > 0.0 && forward > 0.0) ||
               fail("Cannot imply a volatility from a level that is not positive");
    }

    [[nodiscard]] MarketParameters const& c_get_parameters() const { return m_parameters; }

    /// Strike and market value at a space; without a surface the value is 0.
    [[nodiscard]] Volatility eval(double space, Volatility::SpaceKind kind) const {
        if (m_surface != nullptr) {
            return m_surface->eval(m_parameters, space, kind);
        }
        Volatility volatility(m_parameters);
        volatility.set(space, kind);
        return volatility;
    }

 private:
    std::string m_ticker;
    Date m_date;
    Date m_maturity;
    MarketParameters m_parameters;
    ximCORE::Data::ImpliedVolatilitySurface* m_surface{nullptr};
};

/// The kinds of a call, in the terms of the core.
struct Kinds {
    Volatility::SpaceKind space;
    Volatility::ValueKind price;  ///< of what the model computes
    Volatility::ValueKind value;  ///< of what the record shows

    explicit Kinds(ModelImpliedVolatilityResults const& results)
        : space(static_cast<Volatility::SpaceKind>(results.SpaceKind)),
          price(results.PayoffKind == PayoffKind::CALL_TYPE ? Volatility::ValueKind::CALL_PRICE
                                                            : Volatility::ValueKind::PUT_PRICE),
          value(static_cast<Volatility::ValueKind>(results.PriceKind)) {}
};

/// The strikes of all entries as points of a ladder; fills the market values on the way.
std::vector<ContractLadderResults> make_points(Market const& market, Kinds const& kinds,
                                               std::vector<ModelImpliedVolatilitySlice>& slice) {
    std::vector<ContractLadderResults> points(slice.size());
    for (std::size_t i = 0; i < slice.size(); ++i) {
        Volatility const volatility = market.eval(static_cast<double>(slice[i].Space), kinds.space);
        slice[i].Market = static_cast<float>(volatility.c_get(kinds.value));
        points[i].shifts[c_strike] = {MarketDataShift::Kind::assignment,
                                      MarketDataShift::Unit::none,
                                      volatility.c_get(Volatility::SpaceKind::STRIKE)};
    }
    return points;
}

/// A price in another kind; 0 for one without a volatility.
float convert(Market const& market, Kinds const& kinds, float space, double price) {
    Volatility volatility(market.c_get_parameters());
    bool const has_value =
        volatility.set(static_cast<double>(space), kinds.space, price, kinds.price);
    return has_value ? static_cast<float>(volatility.c_get(kinds.value)) : 0.0F;
}

/// How far the market is from the model.
float distance(float market, PricingResult const& model) {
    // Relied on: above the mean the distance is to the mean, below it to the upper bound first
    if (market > model.Mean) {
        return market - model.Mean;
    }
    return model.Upper > market ? market - model.Upper : market - model.Lower;
}

void set_entry(Market const& market, Kinds const& kinds, ximCORE::Pricing::MCResult const& price,
               ModelImpliedVolatilitySlice& entry) {
    entry.Model = {.Lower = convert(market, kinds, entry.Space, price.lower_bound),
                   .Upper = convert(market, kinds, entry.Space, price.upper_bound),
                   .Mean = convert(market, kinds, entry.Space, price.mean),
                   .Stddev = static_cast<float>(price.standard_error)};
    entry.Error = distance(entry.Market, entry.Model);
}

bool run(PricingCase& what, Market& market, ModelImpliedVolatilityResults& results) {
    if (!Toolkit::is_eligible(what) || !market.read()) {
        return false;
    }
    Kinds const kinds(results);
    auto slice = results.Slice;
    auto const ladder = ximCORE::Pricing::get_contract_ladder();
    ladder->get_results() = make_points(market, kinds, slice);
    PricesOnly const guard;
    if (!ladder->run(what.contract, what.model.get())) {
        return false;
    }
    for (std::size_t i = 0; i < slice.size(); ++i) {
        set_entry(market, kinds, ladder->c_get_results()[i].results.price, slice[i]);
    }
    results.Slice = std::move(slice);
    return true;
}

bool reprice(Data& data, Model const& model, Pricer const& pricer,
             ModelImpliedVolatilityResults& results) {
    if (results.Slice.size() > c_max_points) {
        return fail("Too many points");
    }
    Market market(results, model);
    if (!market.c_is_ahead()) {
        return fail("Invalid MaturityDate");
    }
    auto const what =
        Toolkit::make_pricing_case(data, make_vanilla(results, model), model, pricer,
                                   [&](PricingCase&) -> bool { return market.c_declare(); });
    return what != nullptr && run(*what, market, results);
}

}  // namespace

}  // namespace ximAPI

bool GetModelImpliedVolatility(ximAPI::Data& data, ximAPI::Model& model, ximAPI::Pricer& pricer,
                               ximAPI::ModelImpliedVolatilityResults& results,
                               std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request("GetModelImpliedVolatility", logs, [&]() -> bool {
        return ximAPI::reprice(data, model, pricer, results);
    });
}
