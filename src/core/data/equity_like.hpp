// Assets with a simulated fixing: shares, funds, indices and exchange rates.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/data/underlying.hpp"

namespace ximCORE::Data {

/// Reads and opens the cell [fixing rank of the date][own rank] of the fixing grid.
class EquityLikeUnderlying : public Underlying::Impl {
 public:
    void c_set_fixing_grid_internal(Toolbox::Date const& date, Currency const& currency,
                                    Modeling::FixingGrid& grid) const override;
    double eval(Toolbox::Date const& date, Currency const& currency,
                Modeling::FixingGrid& grid) override;
    void aeval(Toolbox::Date const& date, Currency const& currency, Toolbox::AAD::Tape& tape,
               Toolbox::AAD::SweepType sweep, bool antithetic, Modeling::FixingGrid& grid,
               double& value, double& adjoint) override;
    [[nodiscard]] bool build(Toolbox::Date const&) override { return true; }
    [[nodiscard]] bool c_compute_closed_form_price(Underlying const& owner,
                                                   ForwardPayment const& payment,
                                                   Toolbox::Date const& fixing,
                                                   double& price) const override;

    /// Index among the model's factors, -1 before the underlyings of a contract are ranked.
    short const& c_get_rank() const { return m_rank; }
    void set_rank(short rank) { m_rank = rank; }

 private:
    short m_rank = -1;
};

class EquityUnderlying : public EquityLikeUnderlying {
 public:
    AssetKind c_get_asset_kind() const final { return AssetKind::equity; }
};

/// An equity differs from another by its class alone.
template <AssetClass asset_class>
class EquityOf final : public EquityUnderlying {
 public:
    AssetClass c_get_asset_class() const override { return asset_class; }
    std::shared_ptr<Impl> c_clone() const override { return std::make_shared<EquityOf>(*this); }
};

using Share = EquityOf<AssetClass::share>;
using Fund = EquityOf<AssetClass::fund>;
using Index = EquityOf<AssetClass::index>;

class ForeignExchangeUnderlying : public EquityLikeUnderlying {
 public:
    AssetKind c_get_asset_kind() const final { return AssetKind::foreign_exchange; }
};

/// One unit of the base currency, quoted in the currency of the underlying that holds this.
class ExchangeRate final : public ForeignExchangeUnderlying {
 public:
    ExchangeRate() = default;
    explicit ExchangeRate(std::shared_ptr<Currency> base) { set_base_currency(std::move(base)); }

    [[nodiscard]] bool c_is_set() const override { return m_base_currency.has(); }
    AssetClass c_get_asset_class() const override { return AssetClass::exchange_rate; }
    std::shared_ptr<Impl> c_clone() const override;
    /// Appends the base currency; false, after an ERROR record, without one.
    [[nodiscard]] bool accumulate_all(Contract::ContractInformation& information,
                                      Underlying const& owner) override;
    void accumulate_currencies(std::vector<Currency*>& out) override;

    /// Null when unknown.
    std::shared_ptr<Currency> const& c_get_base_currency() const { return m_base_currency.get(); }
    [[nodiscard]] bool c_has_base_currency(Underlying const& owner, Level level) const;
    /// The first value wins. From a text: the cache's currency of that ticker, nothing for an empty
    /// one.
    void set_base_currency(std::string const& text);
    void set_base_currency(std::shared_ptr<Currency> currency);

 private:
    SetOnce<std::shared_ptr<Currency>> m_base_currency;
};

}  // namespace ximCORE::Data
