#include "core/contract/contract_test_case.hpp"

namespace ximCORE::Testing {
namespace {

class Dependencies : public ContractCase {};

TEST_F(Dependencies, AContractIsCompleteOnceAllItAskedForIsKnown) {
    Encoder encoder;
    auto on =
        contract(encoder, encoder.pay(encoder.spot("NEW", "2023-07-02"), "2024-01-01", "CHF"));
    EXPECT_THAT([&] { EXPECT_FALSE(on.get_dependencies()); }, LogsNothing());
    share("NEW");
    EXPECT_FALSE(on.get_dependencies());  // the franc and its rate
    currency("CHF");
    EXPECT_FALSE(on.get_dependencies());
    auto const pair = cache().get_currency_pair(*currency("CHF"), *eur, Data::Level::silent);
    pair->set_ticker("CHFEUR");
    pair->set_name("CHFEUR");
    pair->set_fixing_calendar("dummy");
    pair->set_day_counter("act_365");
    EXPECT_TRUE(on.get_dependencies());
    EXPECT_EQ(on.c_get_currency(), eur);
}

TEST_F(Dependencies, AnUnderlyingThatIsPricedIsInTheBasketAndARateOfAPaymentIsNot) {
    exchange_rate("USDEUR", "USD", "EUR");
    Encoder encoder;
    std::ignore =
        contract(encoder, encoder.pay(encoder.spot("A", "2023-07-02"), "2024-01-01", "USD"))
            .get_dependencies();
    EXPECT_TRUE(cache().get_underlying("A", Data::Level::silent)->c_is_in_basket());
    EXPECT_FALSE(cache().get_underlying("USDEUR", Data::Level::silent)->c_is_in_basket());
}

TEST_F(Dependencies, PastFixingsAskForTheirSpotsAndFutureOnesDoNot) {
    auto const asks = [&](char const* date) {
        cache().clear();
        eur = currency("EUR");
        share("A");
        Encoder encoder;
        std::ignore = contract(encoder, encoder.pay(encoder.spot("A", date), "2024-01-01"))
                          .get_dependencies();
        return cache().c_get_spots().size();
    };
    EXPECT_EQ(asks("2022-12-31"), 1U);
    EXPECT_EQ(asks("2023-01-01"), 1U);
    EXPECT_EQ(asks("2023-01-02"), 0U);
    Contract::s_intraday.IntradayFixings = true;
    EXPECT_EQ(asks("2022-12-31"), 1U);
    EXPECT_EQ(asks("2023-01-01"), 0U);
}

TEST_F(Dependencies, APastFixingInAnotherCurrencyAsksForTheRateToo) {
    Encoder encoder;
    std::ignore =
        contract(encoder, encoder.pay(encoder.spot("U", "2022-12-31", "EUR"), "2024-01-01"))
            .get_dependencies();
    EXPECT_EQ(cache().c_get_spots().size(), 2U);
}

TEST_F(Dependencies, ARateToldLaterReplacesTheUnnamedPair) {
    Encoder encoder;
    auto on = contract(encoder, encoder.pay(encoder.number(1), "2024-01-01", "USD"));
    EXPECT_FALSE(on.get_dependencies());
    auto const told = exchange_rate("USDEUR", "USD", "EUR");
    EXPECT_TRUE(on.get_dependencies());
    EXPECT_EQ(static_cast<PayReceive*>(on.c_get_cashflow())->c_get_conversion()->c_get_underlying(),
              told);
}

}  // namespace
}  // namespace ximCORE::Testing
