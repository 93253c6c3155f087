// One underlying: a ticker with its currency, calendar and day counter, and the asset behaviour
// behind it (`Impl`). An underlying exists once per ticker in the cache; contracts and models hold
// plain pointers to it.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/data/currency.hpp"
#include "core/data/item.hpp"
#include "core/data/level.hpp"
#include "core/data/missing.hpp"
#include "core/toolbox/basis.hpp"
#include "core/toolbox/calendar.hpp"
#include "core/toolbox/tape.hpp"

namespace ximCORE::Toolbox {
class Date;
}
namespace ximCORE::Contract {
struct ContractInformation;
}
namespace ximCORE::Modeling {
class FixingGrid;
}

namespace ximCORE::Data {

/// The numbers order underlyings and are kept in results; `none` is an underlying whose kind no
/// source has told.
enum class AssetClass : std::uint8_t {
    share,
    fund,
    index,
    exchange_rate,
    zero_coupon_bond,
    deposit_rate,
    swap_rate,
    none = 7
};

/// A kind below `interest_rate` is equity-like: it has a simulated fixing.
enum class AssetKind : std::uint8_t { equity, foreign_exchange, interest_rate, none };

struct ForwardPayment;

class Underlying final : public MarketDataStaticItem {
 public:
    /// The behaviour of an asset. `owner` is the underlying that holds the impl.
    class Impl {
     public:
        virtual ~Impl() = default;
        [[nodiscard]] virtual bool c_is_set() const { return true; }
        virtual AssetClass c_get_asset_class() const = 0;
        virtual AssetKind c_get_asset_kind() const = 0;
        /// Opens the cells that `eval` reads. Throws SegmentationFaultException for a rank outside
        /// the grid.
        virtual void c_set_fixing_grid_internal(Toolbox::Date const& date, Currency const& currency,
                                                Modeling::FixingGrid& grid) const = 0;
        /// The fixing of `date` on the current path, in the asset's own unit (price, rate as a
        /// fraction). Per trial: no allocation.
        virtual double eval(Toolbox::Date const& date, Currency const& currency,
                            Modeling::FixingGrid& grid) = 0;
        /// Adjoint form of `eval` on one side of the grid. Forward: `value`. Backward: adds to the
        /// adjoints of the cells that `eval` reads what `adjoint`, the derivative by the value,
        /// amounts to. Per trial: no allocation once the tape has grown.
        virtual void aeval(Toolbox::Date const& date, Currency const& currency,
                           Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
                           Modeling::FixingGrid& grid, double& value, double& adjoint) = 0;
        /// Resolves the asset's own dates for a fixing at `date`; false after an ERROR record.
        [[nodiscard]] virtual bool build(Toolbox::Date const& date) = 0;
        virtual std::shared_ptr<Impl> c_clone() const = 0;
        /// See `Underlying::c_compute_closed_form_price`.
        [[nodiscard]] virtual bool c_compute_closed_form_price(Underlying const& owner,
                                                               ForwardPayment const& payment,
                                                               Toolbox::Date const& fixing,
                                                               double& price) const = 0;
        /// What a contract on this asset needs beyond the underlying's own currency; false after an
        /// ERROR record.
        [[nodiscard]] virtual bool accumulate_all(Contract::ContractInformation&,
                                                  Underlying const& /*owner*/) {
            return true;
        }
        virtual void accumulate_currencies(std::vector<Currency*>&) {}
        virtual void accumulate_maturity_dates(std::vector<Toolbox::Date*>&) {}

     protected:
        Impl() = default;
        Impl(Impl const&) = default;
        Impl& operator=(Impl const&) = delete;
    };

    Underlying() = default;
    Underlying(std::string ticker, bool has_ticker) : m_ticker(std::move(ticker), has_ticker) {}
    /// The pair without ticker, one unit of `base` in units of `quote`: an exchange rate whose two
    /// currencies are the cache's own objects of these tickers.
    Underlying(Currency const& base, Currency const& quote);
    /// Deep copy: currency, impl and quanto rate are cloned.
    Underlying(Underlying const& other);
    std::shared_ptr<Underlying> c_clone() const { return std::make_shared<Underlying>(*this); }

    /// Ticker, name, calendar, day counter, currency and impl are known, and the impl itself is
    /// set.
    [[nodiscard]] bool c_is_set() const override;

    /// The order of underlyings, as -1, 0 or 1: by asset class, then ticker; without both tickers
    /// by currency, then base currency. Throws std::runtime_error "Unknown error" when neither can
    /// be compared.
    int c_cmp(Underlying const& other) const;

    /// The ticker, empty when unknown; valid as long as the underlying lives.
    char const* c_str() const { return m_ticker.get().c_str(); }
    std::string const& c_get_ticker() const { return m_ticker.get(); }
    std::string const& c_get_name() const { return m_name.get(); }
    std::shared_ptr<Toolbox::Calendar::ICalendar const> const& c_get_fixing_calendar() const {
        return m_fixing_calendar.get();
    }
    Toolbox::DayCounter const& c_get_day_counter() const { return m_day_counter.get(); }
    /// The quote currency; null when unknown.
    std::shared_ptr<Currency> const& c_get_currency() const { return m_currency.get(); }
    /// The currency that an exchange rate is a price of; null for other assets or when unknown.
    std::shared_ptr<Currency> c_get_base_currency() const;
    /// Null when unknown.
    std::shared_ptr<Impl> const& c_get_impl() const { return m_impl.get(); }
    AssetClass c_get_asset_class() const;
    AssetKind c_get_asset_kind() const;
    /// False too while the kind is unknown.
    [[nodiscard]] bool c_is_equity_like() const {
        return c_get_asset_kind() < AssetKind::interest_rate;
    }
    /// The factor's index in the model, -1 before ranking and for assets without one.
    short c_get_rank() const;
    /// Does nothing for assets that are not equity-like.
    void set_rank(short rank);

    /// The rate from the own currency to that of the payment; null unless the underlying is quanto.
    std::shared_ptr<Underlying> const& c_get_quanto_exchange_rate() const {
        return m_quanto_exchange_rate;
    }
    [[nodiscard]] bool c_is_quanto() const { return m_quanto_exchange_rate != nullptr; }
    [[nodiscard]] bool c_is_in_basket() const { return m_is_in_basket; }
    void set_is_in_basket(bool is_in_basket) { m_is_in_basket = is_in_basket; }

    /// True when the field is known. Otherwise false, after a record of the level's severity; where
    /// the ticker is unknown too, that is reported in its place, as an ERROR.
    [[nodiscard]] bool c_has_currency(Level level) const;
    [[nodiscard]] bool c_has_name(Level level) const;
    [[nodiscard]] bool c_has_impl(Level level) const;
    [[nodiscard]] bool c_has_fixing_calendar(Level level) const;
    [[nodiscard]] bool c_has_day_counter(Level level) const;
    /// As above; for an exchange rate the record names the pair, or what is missing of it.
    [[nodiscard]] bool c_has_ticker(Level level) const;

    /// The first value of a field wins. An empty text counts as absent, but for a name's; a
    /// calendar or day counter that does not resolve leaves the field missing.
    void set_ticker(std::string_view text) { m_ticker.set_text(text); }
    void set_name(std::string_view text) { m_name.set(std::string(text)); }
    void set_fixing_calendar(std::string_view text);
    void set_day_counter(std::string_view text);
    /// The cache's currency of that ticker.
    void set_currency(std::string const& text);
    void set_currency(std::shared_ptr<Currency> currency);
    void set_impl(std::shared_ptr<Impl> impl);

    /// Makes the underlying quanto for payments in `pay`. False without a currency of its own; true
    /// with nothing done when `pay` is that currency or a rate is set already.
    [[nodiscard]] bool set_quanto_exchange_rate(Currency const& pay);

    /// The spot of `date` with the scenario's shifts; false when it is missing. Relied on: a
    /// missing spot is an ERROR record whatever the level.
    [[nodiscard]] bool eval(Toolbox::Date const& date, double& out, Level level) const;

    /// The fixing of `date` on the current path; 0 while kind or currency is unknown. Per trial: no
    /// allocation.
    double eval(Toolbox::Date const& date, Modeling::FixingGrid& grid) const {
        auto* impl = m_impl.get().get();
        auto* currency = m_currency.get().get();
        return impl && currency ? impl->eval(date, *currency, grid) : 0.0;
    }
    /// Adjoint form of it on one side of the grid: `Impl::aeval` in the own currency. While kind or
    /// currency is unknown: 0 forward, nothing backward.
    void aeval(Toolbox::Date const& date, Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep,
               bool antithetic, Modeling::FixingGrid& grid, double& value, double& adjoint) {
        auto* impl = m_impl.get().get();
        auto* currency = m_currency.get().get();
        if (impl && currency)
            impl->aeval(date, *currency, tape, sweep, antithetic, grid, value, adjoint);
        else if (sweep == Toolbox::AAD::SweepType::FORWARD)
            value = 0.0;
    }
    /// Opens the cells that `eval` reads; nothing while kind or currency is unknown.
    void c_set_fixing_grid_internal(Toolbox::Date const& date, Modeling::FixingGrid& grid) const;
    /// The price at `today` of its level at `fixing`, paid at `payment`: forward times zero coupon
    /// of the pricing currency. False, after an ERROR record, when the payment currency is another
    /// one, for a swap rate, and while market data is missing. Relied on: a level in a third
    /// currency is paid as it stands, without a quanto adjustment.
    [[nodiscard]] bool c_compute_closed_form_price(
        Toolbox::Date const& today, Currency const& pricing, Toolbox::Date const& payment,
        Currency const& payment_currency, Toolbox::Date const& fixing, double& price) const;
    /// Resolves the dates of an interest rate for a fixing at `date`; true while the kind is
    /// unknown.
    [[nodiscard]] bool build(Toolbox::Date const& date);

    /// An exchange rate's pair with base and quote swapped, made in the cache if need be; null for
    /// other assets or while one of the currencies is unknown.
    std::shared_ptr<Underlying> c_get_reverse_pair() const;

    /// These walk the chain: this underlying, its quanto rate, the rate's own, to the end.
    void accumulate_underlyings(std::vector<Underlying*>& out);
    void accumulate_equity_like_underlyings(std::vector<Underlying*>& out);
    void accumulate_currencies(std::vector<Currency*>& out);
    void accumulate_maturity_dates(std::vector<Toolbox::Date*>& out);
    /// False, after an ERROR record, at the first link without a currency.
    [[nodiscard]] bool accumulate_all(Contract::ContractInformation& information);

 private:
    [[nodiscard]] bool report(Level level, std::string_view prefix) const;

    SetOnce<std::string> m_ticker;
    SetOnce<std::string> m_name;
    SetOnce<std::shared_ptr<Toolbox::Calendar::ICalendar const>> m_fixing_calendar;
    SetOnce<Toolbox::DayCounter> m_day_counter;
    SetOnce<std::shared_ptr<Currency>> m_currency;
    SetOnce<std::shared_ptr<Impl>> m_impl;
    std::shared_ptr<Underlying> m_quanto_exchange_rate;
    bool m_is_in_basket = false;
};

}  // namespace ximCORE::Data
