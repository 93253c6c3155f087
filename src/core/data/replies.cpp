#include "core/data/replies.hpp"

#include <array>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "core/data/equity_like.hpp"
#include "core/data/interest_rates.hpp"
#include "core/toolbox/errors.hpp"

namespace ximCORE::Data {

namespace {

template <class Set>
void set_optional(auto const& field, Set set) {
    if (field.has()) set(field.c_str());
}

// The kinds of underlyings: from the record of a reply to the object of the cache.

using Record = API::GetUnderlyingsOut;

void fill_impl(EquityUnderlying&, Record::Impl const&) {}

void fill_impl(ExchangeRate& impl, Record::ExchangeRate const& record) {
    set_optional(record.base, [&](auto text) { impl.set_base_currency(std::string(text)); });
}

void fill_start_and_end(auto& impl, auto const& record) {
    set_optional(record.start, [&](auto text) { impl.set_start(text); });
    set_optional(record.end, [&](auto text) { impl.set_end(text); });
}

void fill_impl(DepositRate& impl, Record::DepositRate const& record) {
    fill_start_and_end(impl, record);
}

void fill_impl(SwapRate& impl, Record::SwapRate const& record) {
    fill_start_and_end(impl, record);
    set_optional(record.frequency, [&](auto text) { impl.set_frequency(text); });
}

void fill_impl(ZeroCouponBond& impl, Record::ZeroCouponBond const& record) {
    set_optional(record.calendar, [&](auto text) { impl.set_calendar(text); });
    fill_start_and_end(impl, record);
}

template <class Impl, class ImplRecord>
std::shared_ptr<Underlying::Impl> make_impl(Record::Impl const& record) {
    auto const* own = dynamic_cast<ImplRecord const*>(&record);
    if (!own) return nullptr;
    auto impl = std::make_shared<Impl>();
    fill_impl(*impl, *own);
    return impl;
}

using MakeImpl = std::shared_ptr<Underlying::Impl> (*)(Record::Impl const& record);

constexpr auto impl_makers = std::to_array<MakeImpl>({
    make_impl<Share, Record::Share>,
    make_impl<Fund, Record::Fund>,
    make_impl<Index, Record::Index>,
    make_impl<ExchangeRate, Record::ExchangeRate>,
    make_impl<DepositRate, Record::DepositRate>,
    make_impl<SwapRate, Record::SwapRate>,
    make_impl<ZeroCouponBond, Record::ZeroCouponBond>,
});

/// Null for a record of no known kind, or with a date shift that does not read, which has left its
/// ERROR record.
std::shared_ptr<Underlying::Impl> read_impl(Record const& reply) {
    if (!reply.impl) return nullptr;
    try {
        for (auto const& make : impl_makers)
            if (auto impl = make(*reply.impl)) return impl;
    } catch (Toolbox::ConstructorException const&) {
        return nullptr;
    } catch (std::out_of_range const&) {
        return nullptr;
    }
    return nullptr;
}

void set_currencies(Underlying& pair, std::string const& base, std::string const& quote) {
    auto impl = std::make_shared<ExchangeRate>();
    impl->set_base_currency(base);
    pair.set_impl(std::move(impl));
    pair.set_currency(quote);
}

void set_calendars(Underlying& pair, API::GetCurrencyPairsOut const& reply) {
    set_optional(reply.fixing_calendar, [&](auto text) { pair.set_fixing_calendar(text); });
    set_optional(reply.day_counter, [&](auto text) { pair.set_day_counter(text); });
}

}  // namespace

void fill_currency(Currency& currency, API::GetCurrenciesOut const& reply) {
    currency.set_ticker(reply.ticker.c_str());
    set_optional(reply.calendar, [&](auto text) { currency.set_calendar(text); });
    set_optional(reply.day_counter, [&](auto text) { currency.set_day_counter(text); });
    if (reply.forward_rate_affinity_factor.has())
        currency.set_forward_rate_affinity_factor(reply.forward_rate_affinity_factor.get());
    set_optional(reply.name, [&](auto text) { currency.set_name(text); });
}

void fill_underlying(Underlying& underlying, Record const& reply) {
    underlying.set_ticker(reply.ticker.c_str());
    set_optional(reply.name, [&](auto text) { underlying.set_name(text); });
    set_optional(reply.fixing_calendar, [&](auto text) { underlying.set_fixing_calendar(text); });
    set_optional(reply.day_counter, [&](auto text) { underlying.set_day_counter(text); });
    set_optional(reply.currency, [&](auto text) { underlying.set_currency(std::string(text)); });
    underlying.set_impl(read_impl(reply));
}

void fill_pair(Underlying& pair, API::GetCurrencyPairsOut const& reply) {
    set_currencies(pair, reply.base.c_str(), reply.quote.c_str());
    set_optional(reply.ticker, [&](auto text) { pair.set_ticker(text); });
    set_optional(reply.name, [&](auto text) { pair.set_name(text); });
    set_calendars(pair, reply);
}

void fill_inverse_pair(Underlying& pair, API::GetCurrencyPairsOut const& reply) {
    std::array<char, 9> text{};
    std::snprintf(text.data(), text.size(), "%3s-%3s", reply.quote.c_str(), reply.base.c_str());
    set_currencies(pair, reply.quote.c_str(), reply.base.c_str());
    if (reply.ticker.has()) pair.set_ticker(text.data());
    if (reply.name.has()) pair.set_name(text.data());
    set_calendars(pair, reply);
}

}  // namespace ximCORE::Data
