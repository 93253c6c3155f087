#include "core/contract/contract_test_case.hpp"
#include "core/contract/either.hpp"
#include "core/contract/ranking.hpp"

namespace ximCORE::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Gathering : public ContractCase {
 protected:
    std::shared_ptr<CashFlow> declared(Encoder& encoder, int root) const {
        auto result = encoder.read(root);
        std::ignore = result->get_dependencies(today, eur.get());
        return result;
    }
    static std::vector<std::string> texts(std::vector<Toolbox::Date*> const& dates) {
        std::vector<std::string> result;
        for (auto const* date : dates) result.emplace_back(date->c_str());
        return result;
    }
    template <class Item>
    static std::vector<std::string> tickers(std::vector<Item*> const& items) {
        std::vector<std::string> result;
        for (auto const* item : items) result.emplace_back(item->c_str());
        return result;
    }
};

TEST_F(Gathering, EverythingIsSortedAndEqualDatesShareTheirRank) {
    Encoder encoder;
    int const first = encoder.spot("B", "2023-07-02");
    int const same = encoder.spot("A", "2023-07-02");
    int const payment = encoder.pay(encoder.add(first, same), "2024-01-01");
    int const other = encoder.pay(encoder.spot("U", "2023-03-01"), "2023-07-02", "USD");
    auto const root = declared(encoder, encoder.both(payment, other));
    ContractInformation information;
    ASSERT_TRUE(root->scan_all(information, true));
    EXPECT_THAT(texts(information.fixing_dates),
                ElementsAre("2023-03-01", "2023-07-02", "2024-01-01"));
    EXPECT_THAT(texts(information.payment_dates), ElementsAre("2023-07-02", "2024-01-01"));
    EXPECT_THAT(texts(information.maturity_dates), ElementsAre("2023-07-02", "2024-01-01"));
    EXPECT_THAT(texts(information.pillar_dates),
                ElementsAre("2023-03-01", "2023-07-02", "2024-01-01"));
    EXPECT_THAT(information.choice_dates, IsEmpty());
    EXPECT_THAT(tickers(information.currencies), ElementsAre("EUR", "USD"));
    EXPECT_EQ(usd->c_get_rank(), 1);
    std::vector<Fixing const*> fixings;
    root->c_accumulate_fixings(fixings);
    ASSERT_EQ(fixings.size(), 4U);
    EXPECT_EQ(fixings[0]->c_get_fixing_date().c_get_fixing_rank(), 1);
    EXPECT_EQ(fixings[1]->c_get_fixing_date().c_get_fixing_rank(), 1);
    EXPECT_EQ(fixings[2]->c_get_fixing_date().c_get_fixing_rank(), 0);
    EXPECT_EQ(fixings[3]->c_get_fixing_date().c_get_fixing_rank(),
              1);  // the conversion, after the amount
}

TEST_F(Gathering, AQuantoUnderlyingBringsItsRate) {
    Encoder encoder;
    auto const root = declared(encoder, encoder.pay(encoder.spot("U", "2023-07-02"), "2024-01-01"));
    auto const asset = cache().get_underlying("U", Data::Level::silent);
    ASSERT_TRUE(asset->c_is_quanto());
    EXPECT_EQ(asset->c_get_quanto_exchange_rate(),
              cache().get_currency_pair(*usd, *eur, Data::Level::silent));
    std::vector<Data::Underlying*> underlyings;
    root->scan_underlyings(underlyings, true);
    EXPECT_THAT(underlyings, ElementsAre(asset.get(), asset->c_get_quanto_exchange_rate().get()));
    std::vector<Data::Underlying*> equity_like;
    root->scan_equity_like_underlyings(equity_like, true);
    EXPECT_EQ(equity_like.size(), 2U);
    EXPECT_EQ(asset->c_get_quanto_exchange_rate()->c_get_rank(), 1);
}

TEST_F(Gathering, AChoiceIsAFixingAndAPillarAndItsScanRanksChoicesAlone) {
    Encoder encoder;
    int const payment = encoder.pay(encoder.spot("A", "2023-03-01"), "2024-01-01");
    auto const root = declared(encoder, encoder.c(2, payload(1, "2023-07-02", payment)));
    ContractInformation information;
    ASSERT_TRUE(root->scan_all(information, true));
    EXPECT_THAT(texts(information.fixing_dates),
                ElementsAre("2023-03-01", "2023-07-02", "2024-01-01"));
    EXPECT_THAT(texts(information.pillar_dates),
                ElementsAre("2023-03-01", "2023-07-02", "2024-01-01"));
    auto const& choice = static_cast<Either&>(*root).c_get_choice_date();
    EXPECT_EQ(choice.c_get_fixing_rank(), 1);
    std::vector<Toolbox::Date*> choices;
    root->scan_choice_dates(choices, true);
    EXPECT_THAT(texts(choices), ElementsAre("2023-07-02"));
    EXPECT_EQ(choice.c_get_fixing_rank(), 0);
}

TEST_F(Gathering, EachListOfItsOwnIsWhatTheWholeHolds) {
    Encoder encoder;
    int const event = encoder.above(encoder.spot("B", "2023-02-01"), 100);
    int const payment = encoder.pay(encoder.spot("A", "2023-07-02"), "2024-01-01", "USD");
    int const choice = encoder.c(2, payload(1, "2023-03-01", payment, encoder.nothing()));
    auto const root =
        declared(encoder, encoder.condition(event, payment, encoder.buy("2023-01-15", 2, choice)));
    ContractInformation all;
    ASSERT_TRUE(root->accumulate_all(all));
    ContractInformation own;
    root->accumulate_currencies(own.currencies);
    root->accumulate_equity_like_underlyings(own.equity_like_underlyings);
    root->accumulate_fixing_dates(own.fixing_dates);
    root->accumulate_payment_dates(own.payment_dates);
    root->accumulate_maturity_dates(own.maturity_dates);
    root->accumulate_pillar_dates(own.pillar_dates);
    EXPECT_EQ(own.currencies, all.currencies);
    EXPECT_EQ(own.equity_like_underlyings, all.equity_like_underlyings);
    EXPECT_EQ(own.fixing_dates, all.fixing_dates);
    EXPECT_EQ(own.payment_dates, all.payment_dates);
    EXPECT_EQ(own.maturity_dates, all.maturity_dates);
    EXPECT_EQ(own.pillar_dates, all.pillar_dates);
}

TEST_F(Gathering, AnAmountHasNoPillarsInItsOrder) {
    Encoder encoder;
    int const amount =
        encoder.add(encoder.spot("A", "2024-01-01"), encoder.spot("A", "2023-07-02"));
    auto const root = declared(encoder, encoder.pay(amount, "2025-01-01"));
    ContractInformation information;
    ASSERT_TRUE(static_cast<PayReceive&>(*root).c_get_amount().scan_all(information, true));
    EXPECT_THAT(texts(information.fixing_dates), ElementsAre("2023-07-02", "2024-01-01"));
    EXPECT_THAT(texts(information.pillar_dates), ElementsAre("2024-01-01", "2023-07-02"));
    EXPECT_THAT(information.payment_dates, IsEmpty());
}

TEST_F(Gathering, AListGivenIsRankedWithoutAWalk) {
    Encoder encoder;
    auto const root = declared(encoder, encoder.pay(encoder.spot("A", "2024-01-01"), "2025-01-01"));
    Date later("2023-05-01");
    Date earlier("2023-04-01");
    std::vector<Toolbox::Date*> dates{&later, &earlier};
    root->scan_payment_dates(dates, false);
    EXPECT_THAT(dates, ElementsAre(&earlier, &later));
    EXPECT_EQ(later.c_get_payment_rank(), 1);
}

TEST_F(Gathering, UnresolvedNamesAreMissingData) {
    Encoder payment;
    auto const root = payment.read(payment.pay(payment.number(1), "2024-01-01", "CHF"));
    ContractInformation information;
    EXPECT_THAT([&] { EXPECT_FALSE(root->scan_all(information, true)); },
                LogsError("Cannot find currency CHF"));
    Encoder fixing;
    auto const other = fixing.read(fixing.pay(fixing.spot("ZZZ", "2023-07-02"), "2024-01-01"));
    auto& amount = static_cast<PayReceive&>(*other).c_get_amount();
    EXPECT_THAT([&] { EXPECT_FALSE(amount.accumulate_all(information)); },
                LogsError("Cannot find underlying ZZZ"));
    double value{};
    EXPECT_THAT([&] { EXPECT_FALSE(amount.eval(value, Data::Level::error)); },
                LogsError("Cannot find underlying ZZZ"));
    EXPECT_THAT([&] { EXPECT_FALSE(amount.eval(value, Data::Level::silent)); }, LogsNothing());
    std::vector<Data::Underlying*> underlyings;
    EXPECT_THAT([&] { amount.accumulate_underlyings(underlyings); }, LogsNothing());
    EXPECT_THAT(underlyings, IsEmpty());
}

TEST_F(Gathering, AnUnderlyingWithoutCurrencyStopsTheScan) {
    Encoder encoder;
    auto const root =
        declared(encoder, encoder.pay(encoder.spot("ZZZ", "2023-07-02"), "2024-01-01"));
    ContractInformation information;
    EXPECT_THAT([&] { EXPECT_FALSE(root->scan_all(information, true)); },
                LogsError("Cannot find currency of underlying with ticker ZZZ"));
}

TEST_F(Gathering, MoreDatesThanARankCanCountAreRefused) {
    std::vector<Date> dates;
    Date date("1970-01-01");
    for (int i = 0; i < 32768; ++i) {
        dates.push_back(date);
        ++date;
    }
    ContractInformation information;
    for (auto& each : dates) information.payment_dates.push_back(&each);
    information.payment_dates.pop_back();
    EXPECT_TRUE(sort_all(information, true));
    information.payment_dates.push_back(&dates.back());
    EXPECT_THAT([&] { EXPECT_FALSE(sort_all(information, true)); },
                LogsError("Contract with too many payment dates"));
}

TEST_F(Gathering, PillarsThatNobodyRanksMayBeAnyNumber) {
    Date date("2023-07-02");
    ContractInformation information;
    information.pillar_dates.assign(40000, &date);
    EXPECT_TRUE(sort_all(information, false));
    EXPECT_EQ(information.pillar_dates.size(), 40000U);
    EXPECT_TRUE(sort_all(information, true));
    EXPECT_EQ(information.pillar_dates.size(), 1U);
}

TEST_F(Gathering, MoreCurrenciesThanARankCanCountAreRefused) {
    std::vector<Data::Currency> currencies;
    for (int i = 0; i < 257; ++i) currencies.emplace_back(std::to_string(i), true);
    ContractInformation information;
    for (auto& each : currencies) information.currencies.push_back(&each);
    EXPECT_THAT([&] { EXPECT_FALSE(sort_all(information, true)); },
                LogsError("Contract with too many currencies"));
}

TEST_F(Gathering, FixingsAreOrderedByDateThenUnderlyingThenCurrency) {
    exchange_rate("USDEUR", "USD", "EUR");
    Encoder encoder;
    int const late = encoder.spot("A", "2024-01-01");
    int const converted = encoder.spot("U", "2023-07-02", "EUR");
    int const plain = encoder.spot("U", "2023-07-02");
    int const other = encoder.spot("B", "2023-07-02");
    int const same = encoder.spot("B", "2023-07-02");
    auto const root = declared(
        encoder,
        encoder.pay(encoder.a(32, payload(0, late, converted, plain, other, same)), "2025-01-01"));
    std::vector<Fixing const*> all;
    root->c_accumulate_fixings(all);
    std::vector<Fixing const*> fixings;
    root->scan_fixings(fixings, true);
    EXPECT_THAT(fixings, ElementsAre(all[3], all[2], all[1], all[0]));
    EXPECT_THAT((std::vector{all[0]->c_get_rank(), all[1]->c_get_rank(), all[2]->c_get_rank(),
                             all[3]->c_get_rank(), all[4]->c_get_rank()}),
                ElementsAre(3, 2, 1, 0, 0));
}

// Barriers

TEST_F(Gathering, BarriersAreTheWholeEventsOfConditions) {
    Encoder encoder;
    int const a = encoder.above(encoder.spot("A", "2023-07-02"), 100);
    int const b = encoder.above(encoder.spot("B", "2023-03-01"), 100);
    int const both = encoder.e(7, payload(a, b));
    int const payment =
        encoder.pay(encoder.iff(a, encoder.number(1), encoder.number(2)), "2024-01-01");
    int const inner = encoder.condition(b, payment, encoder.nothing());
    auto const root = declared(encoder, encoder.condition(both, inner, payment));
    std::vector<Event*> barriers;
    root->accumulate_barriers(barriers);
    ASSERT_EQ(barriers.size(), 2U);
    EXPECT_EQ(barriers[0], &static_cast<If&>(*root).c_get_event());
    EXPECT_EQ(barriers[1], &static_cast<If&>(static_cast<If&>(*root).c_get_then()).c_get_event());
}

TEST_F(Gathering, BarriersAreSortedByDateThenTextAndDuplicatesStay) {
    Encoder encoder;
    int const undated = encoder.e(16, payload(encoder.reference("x"), 1));
    int const late = encoder.above(encoder.spot("A", "2024-01-01"), 100);
    int const high = encoder.above(encoder.spot("A", "2023-07-02"), 200);
    int const low = encoder.above(encoder.spot("A", "2023-07-02"), 20);
    int const payment = encoder.pay(encoder.number(1), "2024-01-01");
    auto const knock = [&](int event, int rest) { return encoder.condition(event, payment, rest); };
    auto const root = declared(
        encoder, knock(late, knock(high, knock(low, knock(high, knock(undated, payment))))));
    std::vector<Event*> barriers;
    root->scan_barriers(barriers, true);
    std::vector<std::string> texts;
    for (auto const* barrier : barriers) barrier->c_write(texts.emplace_back());
    EXPECT_THAT(
        texts, ElementsAre("AmountRef(\"x\") > 1", "Spot(\"A\", \"2023-07-02\") > 20",
                           "Spot(\"A\", \"2023-07-02\") > 200", "Spot(\"A\", \"2023-07-02\") > 200",
                           "Spot(\"A\", \"2024-01-01\") > 100"));
    EXPECT_EQ(barriers[0]->c_get_rank(), 0);
    EXPECT_EQ(barriers[2], barriers[3]);
    EXPECT_EQ(barriers[2]->c_get_rank(), 3);  // the later one of the two
}

TEST_F(Gathering, TheConstatationDateIsTheEarliestFixingWithItsRanks) {
    Encoder encoder;
    int const event =
        encoder.greater(encoder.spot("A", "2024-01-01"), encoder.spot("B", "2023-07-02"));
    int const undated = encoder.e(16, payload(encoder.number(1), 0));
    int const payment = encoder.pay(encoder.spot("A", "2023-03-01"), "2024-01-01");
    auto const root = declared(
        encoder, encoder.condition(event, payment, encoder.condition(undated, payment, payment)));
    ContractInformation information;
    ASSERT_TRUE(root->scan_all(information, true));
    Date date("2020-01-01");
    EXPECT_TRUE(static_cast<If&>(*root).c_get_event().unsafe_get_constatation_date(date));
    EXPECT_STREQ(date.c_str(), "2023-07-02");
    EXPECT_EQ(date.c_get_fixing_rank(), 1);
    Date other("2020-01-01");
    EXPECT_FALSE(static_cast<If&>(static_cast<If&>(*root).c_get_else())
                     .c_get_event()
                     .unsafe_get_constatation_date(other));
    EXPECT_STREQ(other.c_str(), "2020-01-01");
}

// Positions, maturity, tags

TEST_F(Gathering, EveryNodeHasItsPlaceInTheListOfEvents) {
    Encoder encoder;
    int const payment = encoder.pay(encoder.number(1), "2024-01-01");
    int const setting = encoder.set("x", encoder.number(1));
    int const event = encoder.above(encoder.spot("A", "2023-07-02"), 100);
    int const condition = encoder.condition(event, encoder.both(payment, payment), setting);
    int const choice = encoder.c(
        2, payload(1, "2023-07-02", payment, encoder.nothing(), encoder.both(setting, payment)));
    int const purchase = encoder.buy("2023-07-02", 2, payment);
    auto const root = encoder.read(encoder.both(condition, encoder.both(choice, purchase)));
    std::vector<CashFlow const*> list;
    root->accumulate_events(list, 10);
    ASSERT_EQ(list.size(), 10U);  // if, pay, pay, set, choice, pay, set, pay, buy, pay
    auto const& barrier = dynamic_cast<If const&>(*list[0]);
    EXPECT_THAT((std::vector{barrier.c_get_start_lhs(), barrier.c_get_end_lhs(),
                             barrier.c_get_start_rhs(), barrier.c_get_end_rhs()}),
                ElementsAre(11, 12, 13, 13));
    auto const& either = dynamic_cast<Either const&>(*list[4]);
    EXPECT_THAT(either.c_get_starts(), ElementsAre(15, 16, 16));
    EXPECT_THAT(either.c_get_ends(), ElementsAre(15, 15, 17));
    auto const& buy = dynamic_cast<BuySell const&>(*list[8]);
    EXPECT_EQ(buy.c_get_start(), 9);  // without the base
    EXPECT_EQ(buy.c_get_end(), 9);
}

TEST_F(Gathering, TheMaturityIsTheLatestPayment) {
    Encoder encoder;
    int const early = encoder.pay(encoder.number(1), "2024-01-01");
    int const late = encoder.pay(encoder.number(1), "2025-01-01");
    int const setting = encoder.set("x", encoder.number(1));
    int const event = encoder.above(encoder.spot("A", "2026-07-02"), 100);
    auto const maturity = [&](int root) {
        return std::string(
            Date(encoder.read(root)->c_get_maturity_date(Date("2020-01-01"))).c_str());
    };
    EXPECT_EQ(maturity(early), "2024-01-01");
    EXPECT_EQ(maturity(setting), "2020-01-01");
    EXPECT_EQ(maturity(encoder.nothing()), "2020-01-01");
    EXPECT_EQ(maturity(encoder.both(late, encoder.both(early, setting))), "2025-01-01");
    EXPECT_EQ(maturity(encoder.both(setting, encoder.both(early, late))), "2025-01-01");
    EXPECT_EQ(maturity(encoder.condition(event, early, late)), "2025-01-01");
    EXPECT_EQ(maturity(encoder.buy("2030-01-01", 1, early)), "2024-01-01");
    EXPECT_EQ(maturity(encoder.c(2, payload(1, "2030-01-01", early, late))), "2025-01-01");
    EXPECT_EQ(maturity(encoder.c(2, payload(1, "2030-01-01"))), "2020-01-01");
}

TEST_F(Gathering, ATagChangesEveryConstantOfItsName) {
    Encoder encoder;
    int const strike = encoder.ref("strike", 100);
    int const other = encoder.ref("other", 5);
    int const event = encoder.greater(encoder.spot("A", "2023-07-02"), strike);
    int const sum = encoder.add(encoder.ref("strike", 100), other);
    auto const root =
        encoder.read(encoder.condition(event, encoder.pay(sum, "2024-01-01"), encoder.nothing()));
    std::vector<double*> tags;
    root->unsafe_get_tags("strike", tags);
    ASSERT_EQ(tags.size(), 2U);
    for (auto* tag : tags) *tag = 7;
    auto on = path(root);
    EXPECT_EQ(on.set("A", "2023-07-02", 8).flow("2024-01-01"), 12.0);
    EXPECT_EQ(on.set("A", "2023-07-02", 7).flow("2024-01-01"), 0.0);
}

}  // namespace
}  // namespace ximCORE::Testing
