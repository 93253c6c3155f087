// The lists of a contract, made by hand: dates and underlyings with their ranks, without any tree.
// For tests of what reads these lists.

#pragma once

#include <initializer_list>
#include <memory>
#include <vector>

#include "core/contract/information.hpp"
#include "core/data/equity_like.hpp"
#include "core/toolbox/date.hpp"

namespace ximCORE::Testing {

class HandMadeInformation {
 public:
    using Date = Toolbox::Date;

    Contract::ContractInformation lists;

    void add_underlying(Data::Underlying& underlying) {
        auto const rank = static_cast<short>(lists.equity_like_underlyings.size());
        dynamic_cast<Data::EquityLikeUnderlying&>(*underlying.c_get_impl()).set_rank(rank);
        lists.equity_like_underlyings.push_back(&underlying);
    }
    void add_currency(Data::Currency& currency) {
        currency.set_rank(static_cast<unsigned char>(lists.currencies.size()));
        lists.currencies.push_back(&currency);
    }
    Date& add_fixing(Date const& date) {
        return add(lists.fixing_dates, date, &Date::set_fixing_rank);
    }
    Date& add_payment(Date const& date) {
        return add(lists.payment_dates, date, &Date::set_payment_rank);
    }
    Date& add_maturity(Date const& date) {
        return add(lists.maturity_dates, date, &Date::set_maturity_rank);
    }

 private:
    Date& add(std::vector<Date*>& list, Date const& date, void (Date::*set_rank)(short)) {
        auto& owned = *m_dates.emplace_back(std::make_unique<Date>(date));
        (owned.*set_rank)(static_cast<short>(list.size()));
        list.push_back(&owned);
        return owned;
    }

    std::vector<std::unique_ptr<Date>> m_dates;
};

}  // namespace ximCORE::Testing
