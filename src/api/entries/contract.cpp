#include "api/bridge/contract.hpp"

#include <algorithm>
#include <ranges>

#include "api/bridge/data.hpp"
#include "api/bridge/events.hpp"
#include "api/frame.hpp"
#include "api/plug.hpp"
#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/contract/fixing.hpp"
#include "core/data/cache.hpp"
#include "core/data/correlation.hpp"
#include "core/data/currency.hpp"
#include "core/data/spot.hpp"
#include "core/data/underlying.hpp"
#include "core/toolbox/math.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {

namespace {

using ximCORE::Data::Level;
using ximCORE::Data::MarketDataCache;
using ximCORE::Toolbox::Date;
using CoreContract = ximCORE::Contract::Contract;
using CoreCashFlow = ximCORE::Contract::CashFlow;
using CoreFixing = ximCORE::Contract::Fixing;
using CoreUnderlying = ximCORE::Data::Underlying;
using Overrides = ximCORE::Contract::FixingOverrides;

constexpr std::uint64_t c_script_columns = 180;

/// A fixing on the contract's date is open only under the intraday flag.
bool is_past(CoreFixing const& fixing, Date const& date) {
    return fixing.c_get_fixing_date() < date ||
           (fixing.c_get_fixing_date() == date && !CoreContract::s_intraday.IntradayFixings);
}

std::vector<CoreUnderlying*> underlyings_of(CoreCashFlow& cashflow) {
    std::vector<CoreUnderlying*> underlyings;
    cashflow.scan_underlyings(underlyings, true);
    return underlyings;
}

/// Asks for what the report shows beyond what the contract itself needs.
void declare_report(CoreCashFlow& cashflow, Date const& date) {
    auto& cache = MarketDataCache::s_get();
    auto const underlyings = underlyings_of(cashflow);
    for (CoreUnderlying const* row : underlyings) {
        std::ignore = cache.get_spot(date, row, Level::silent);
        for (CoreUnderlying const* column : underlyings) {
            std::ignore = cache.get_correlation(date, row, column, Level::silent);
        }
    }
}

/// The contract as it was written. It is declared like the contract that moves on.
class Origin {
 public:
    explicit Origin(CoreContract& contract) : m_cashflow(contract.get_current()->clone()) {}
    ~Origin() { CoreCashFlow::s_release(m_cashflow); }
    Origin(Origin const&) = delete;
    Origin& operator=(Origin const&) = delete;

    [[nodiscard]] CoreCashFlow& get() { return *m_cashflow; }

    /// The fixings, by date and underlying, each once.
    [[nodiscard]] std::vector<CoreFixing const*> fixings() {
        std::vector<CoreFixing const*> found;
        m_cashflow->scan_fixings(found, true);
        return found;
    }

 private:
    std::shared_ptr<CoreCashFlow> m_cashflow;
};

bool declare(CoreContract& contract, Origin& origin) {
    bool const complete = contract.get_dependencies();
    std::ignore =
        origin.get().get_dependencies(contract.c_get_date(), contract.c_get_currency().get());
    declare_report(*contract.get_current(), contract.c_get_date());
    return complete;
}

Overrides make_overrides(std::vector<Fixing> const& fixings) {
    Overrides overrides;
    for (Fixing const& fixing : fixings) {
        if (fixing.Edit) {
            auto const underlying =
                MarketDataCache::s_get().get_underlying(fixing.Ticker, Level::error);
            overrides.emplace_back(Date(fixing.Date), underlying.get(),
                                   static_cast<double>(fixing.Quote));
        }
    }
    return overrides;
}

bool set_underlying(CoreUnderlying& from, Date const& date, Underlying& to) {
    if (!from.c_has_ticker(Level::error) || !from.c_has_currency(Level::error)) {
        return false;
    }
    to.Ticker = from.c_get_ticker();
    to.QuoteCurrency = from.c_get_currency()->c_str();
    to.AssetClass = static_cast<AssetClass>(from.c_get_asset_class());
    to.AssetKind = static_cast<AssetKind>(from.c_get_asset_kind());
    to.IsInBasket = from.c_is_in_basket();
    to.IsQuanto = from.c_is_quanto();
    if (from.c_has_name(Level::warning)) {
        to.CompleteName = from.c_get_name();
    }
    double quote = 0.0;
    to.HasLastQuote =
        MarketDataCache::s_get().get_spot(date, &from, Level::error)->eval(quote, Level::warning);
    to.LastQuote = static_cast<float>(quote);
    return true;
}

Correlation make_correlation(CoreUnderlying const& first, CoreUnderlying const& second,
                             Date const& date) {
    double value = 0.0;
    auto* const item =
        MarketDataCache::s_get().get_correlation(date, &first, &second, Level::error);
    if (!item->eval(value, Level::warning)) {
        return {};
    }
    return {.Value = static_cast<float>(ximCORE::Toolbox::Math::get_percentage(value)),
            .HasValue = true};
}

void set_correlations(std::vector<CoreUnderlying*> const& underlyings, Date const& date,
                      CorrelationMatrix& to) {
    to = {};
    for (CoreUnderlying const* row : underlyings) {
        to.Rows.push_back(row->c_get_ticker());
        std::vector<Correlation>& cells = to.Data.emplace_back();
        for (CoreUnderlying const* column : underlyings) {
            cells.push_back(make_correlation(*row, *column, date));
        }
    }
    to.Cols = to.Rows;
}

bool set_underlyings(CoreContract& contract, ContractResults& results) {
    if (!results.WithUnderlyings && !results.WithCorrelation) {
        return true;
    }
    auto const underlyings = underlyings_of(*contract.get_current());
    std::vector<Underlying> records(underlyings.size());
    for (std::size_t i = 0; i < underlyings.size(); ++i) {
        if (!set_underlying(*underlyings[i], contract.c_get_date(), records[i])) {
            return false;
        }
    }
    if (results.WithUnderlyings) {
        results.Underlyings = std::move(records);
    }
    if (results.WithCorrelation) {
        set_correlations(underlyings, contract.c_get_date(), results.CorrelationMatrix);
    }
    return true;
}

/// The quote of a past fixing: an override wins over the stored value, which is asked only without
/// one.
bool set_quote(CoreFixing const& from, Overrides const& overrides, Fixing& to) {
    auto const found = std::ranges::find_if(overrides, [&from](auto const& entry) {
        return std::get<0>(entry) == from.c_get_fixing_date() &&
               std::get<1>(entry)->c_cmp(*from.c_get_underlying()) == 0;
    });
    double value = 0.0;
    if (found != overrides.end()) {
        value = std::get<2>(*found);
    } else if (!to.IsPast) {
        return true;
    } else if (!from.c_get_value(value)) {
        return false;
    }
    to.HasQuote = true;
    to.Quote = static_cast<float>(value);
    return true;
}

bool set_fixings(Origin& origin, Date const& date, Overrides const& overrides,
                 ContractResults& results) {
    if (!results.WithFixings) {
        return true;
    }
    std::vector<Fixing> records;
    for (CoreFixing const* fixing : origin.fixings()) {
        auto const& underlying = fixing->c_get_underlying();
        if (underlying == nullptr || !underlying->c_has_ticker(Level::error) ||
            !underlying->c_has_currency(Level::error)) {
            return false;
        }
        Fixing& record = records.emplace_back();
        record.Date = Date(fixing->c_get_fixing_date()).c_str();
        record.QuoteCurrency = underlying->c_get_currency()->c_str();
        record.Ticker = underlying->c_get_ticker();
        record.IsPast = is_past(*fixing, date);
        if (!set_quote(*fixing, overrides, record)) {
            return false;
        }
    }
    results.Fixings = std::move(records);
    return true;
}

void set_script(CoreContract& contract, ContractResults& results) {
    if (results.WithScript) {
        results.Script.clear();
        contract.get_current()->c_write(results.Script, c_script_columns);
    }
}

/// Appends what is still to come to what has happened.
void set_events(CoreContract& contract, EventManager& manager, ContractResults& results) {
    if (!results.WithEvents) {
        return;
    }
    std::vector<CoreCashFlow const*> listed;
    contract.get_current()->accumulate_events(listed, results.Events.size());
    list_events(listed, manager);
}

bool report(Data& data, Contract const& record, ContractResults& results) {
    Toolkit::plug_data_parameters(data);
    Toolkit::plug_contract_parameters(record);
    Date const date(record.Date);
    CoreContract contract(date, record.PremiumCurrency);
    if (!Toolkit::set_contract(record, contract)) {
        return false;
    }
    Origin origin(contract);
    std::ignore = Toolkit::set_data(data, [&]() -> bool { return declare(contract, origin); });

    Overrides const overrides = make_overrides(results.Fixings);
    results.Events.clear();
    EventManager manager(results.Events, date);
    if (!contract.move(date, overrides, &manager)) {
        return false;
    }
    set_script(contract, results);
    if (!set_underlyings(contract, results) || !set_fixings(origin, date, overrides, results)) {
        return false;
    }
    set_events(contract, manager, results);
    return true;
}

}  // namespace

}  // namespace ximAPI

bool GetContract(ximAPI::Data& data, ximAPI::Contract& contract, ximAPI::ContractResults& results,
                 std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request(
        "GetContract", logs, [&]() -> bool { return ximAPI::report(data, contract, results); });
}
