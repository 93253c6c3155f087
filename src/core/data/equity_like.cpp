#include "core/data/equity_like.hpp"

#include "core/contract/information.hpp"
#include "core/data/cache.hpp"
#include "core/modeling/fixing_grid.hpp"

namespace ximCORE::Data {

void EquityLikeUnderlying::c_set_fixing_grid_internal(Toolbox::Date const& date, Currency const&,
                                                      Modeling::FixingGrid& grid) const {
    grid.open_equity_like(date, *this);
}

double EquityLikeUnderlying::eval(Toolbox::Date const& date, Currency const&,
                                  Modeling::FixingGrid& grid) {
    return grid.get_equity_like(date, *this).value;
}

void EquityLikeUnderlying::aeval(Toolbox::Date const& date, Currency const&, Toolbox::AAD::Tape&,
                                 Toolbox::AAD::SweepType sweep, bool antithetic,
                                 Modeling::FixingGrid& grid, double& value, double& adjoint) {
    auto& cell = grid.get_equity_like(date, *this);
    if (sweep == Toolbox::AAD::SweepType::FORWARD)
        value = cell.get_value(antithetic);
    else
        cell.get_adjoint(antithetic) += adjoint;
}

std::shared_ptr<Underlying::Impl> ExchangeRate::c_clone() const {
    auto copy = std::make_shared<ExchangeRate>(*this);
    if (m_base_currency.has()) copy->m_base_currency = SetOnce(m_base_currency.get()->c_clone());
    return copy;
}

bool ExchangeRate::accumulate_all(Contract::ContractInformation& information,
                                  Underlying const& owner) {
    if (!m_base_currency.has())
        return missing_text(Level::error, "Cannot find base currency of exchange rate with ticker ",
                            owner.c_str());
    information.currencies.push_back(m_base_currency.get().get());
    return true;
}

void ExchangeRate::accumulate_currencies(std::vector<Currency*>& out) {
    if (m_base_currency.has()) out.push_back(m_base_currency.get().get());
}

bool ExchangeRate::c_has_base_currency(Underlying const& owner, Level level) const {
    return m_base_currency.has() ||
           missing(level, "Cannot find base currency of exchange rate with ticker '", owner);
}

void ExchangeRate::set_base_currency(std::string const& text) {
    if (!m_base_currency.has() && !text.empty())
        set_base_currency(MarketDataCache::s_get().get_currency(text, Level::silent));
}

void ExchangeRate::set_base_currency(std::shared_ptr<Currency> currency) {
    if (currency) m_base_currency.set(std::move(currency));
}

}  // namespace ximCORE::Data
