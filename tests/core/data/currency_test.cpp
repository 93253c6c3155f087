#include "core/data/currency.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using ximTest::LogsError;
using ximTest::LogsNothing;
using ximTest::LogsWarning;
using ximTest::Raises;

/// Switches a class-wide default on for one test.
class SwitchedOn {
 public:
    explicit SwitchedOn(bool& flag) : m_flag(flag) { m_flag = true; }
    SwitchedOn(SwitchedOn const&) = delete;
    SwitchedOn& operator=(SwitchedOn const&) = delete;
    ~SwitchedOn() { m_flag = false; }

 private:
    bool& m_flag;
};

struct Field {
    bool (Currency::*has)(Level) const;
    char const* message;
    bool* default_switch;
};

Field const fields[] = {
    {&Currency::c_has_name, "Cannot find name for currency with ticker 'EUR'", nullptr},
    {&Currency::c_has_day_counter, "Cannot find day counter for currency with ticker 'EUR'",
     &Currency::s_set_at_default_day_counter},
    {&Currency::c_has_calendar, "Cannot find calendar for currency with ticker 'EUR'",
     &Currency::s_set_at_default_calendar},
    {&Currency::c_has_forward_rate_affinity_factor,
     "Cannot find forward rate affinity factor for currency with ticker 'EUR'",
     &Currency::s_set_at_default_forward_rate_affinity_factor},
};

TEST(Currency, ReportsEachMissingFieldAtTheLevelAsked) {
    Currency const currency("EUR", true);
    for (auto const& field : fields) {
        EXPECT_THAT([&] { EXPECT_FALSE((currency.*field.has)(Level::silent)); }, LogsNothing());
        EXPECT_THAT([&] { EXPECT_FALSE((currency.*field.has)(Level::warning)); },
                    LogsWarning(std::string(field.message)));
        EXPECT_THAT([&] { EXPECT_FALSE((currency.*field.has)(Level::error)); },
                    LogsError(std::string(field.message)));
        EXPECT_THAT([&] { std::ignore = (currency.*field.has)(static_cast<Level>(9)); },
                    Raises<std::runtime_error>("Unknown error"));
    }
}

TEST(Currency, TakesDefaultsWithAWarningAtEveryLevelWhenTheirSwitchIsOn) {
    for (auto const level : {Level::silent, Level::warning, Level::error}) {
        for (auto const& field : fields) {
            if (!field.default_switch) continue;
            Currency const currency("EUR", true);
            SwitchedOn const on(*field.default_switch);
            EXPECT_THAT([&] { EXPECT_TRUE((currency.*field.has)(level)); },
                        LogsWarning(std::string(field.message)));
            EXPECT_THAT([&] { EXPECT_TRUE((currency.*field.has)(level)); }, LogsNothing());
        }
    }
}

TEST(Currency, TakesOneHalfAsDefaultAffinityFactor) {
    Currency const currency("EUR", true);
    SwitchedOn const on(Currency::s_set_at_default_forward_rate_affinity_factor);
    EXPECT_THAT([&] { EXPECT_TRUE(currency.c_has_forward_rate_affinity_factor(Level::silent)); },
                LogsWarning(std::string(fields[3].message)));
    EXPECT_EQ(currency.c_get_forward_rate_affinity_factor(), 0.5F);
}

TEST(Currency, ReportsAnUnknownTicker) {
    Currency const currency("EUR", false);
    EXPECT_THAT([&] { EXPECT_FALSE(currency.c_has_ticker(Level::error)); },
                LogsError("Unknown currency"));
}

TEST(Currency, CountsTheEmptyTickerOfTheDefaultCurrencyAsKnown) {
    EXPECT_TRUE(Currency().c_has_ticker(Level::silent));
    EXPECT_STREQ(Currency().c_str(), "");
}

TEST(Currency, IsSetWhenItsFiveFieldsAre) {
    Currency currency("EUR", true);
    currency.set_name("Euro");
    currency.set_calendar("dummy");
    currency.set_day_counter("act_365");
    EXPECT_FALSE(currency.c_is_set());
    currency.set_forward_rate_affinity_factor(0.6F);
    EXPECT_TRUE(currency.c_is_set());
}

TEST(Currency, KeepsTheFirstValueOfEachField) {
    Currency currency("EUR", true);
    currency.set_name("Euro");
    currency.set_name("Ecu");
    currency.set_forward_rate_affinity_factor(0.6F);
    currency.set_forward_rate_affinity_factor(0.1F);
    currency.set_ticker("USD");
    EXPECT_EQ(currency.c_get_name(), "Euro");
    EXPECT_EQ(currency.c_get_forward_rate_affinity_factor(), 0.6F);
    EXPECT_STREQ(currency.c_str(), "EUR");
}

TEST(Currency, LeavesFieldsOpenForTextsThatDoNotResolve) {
    Currency currency("EUR", true);
    currency.set_calendar("Dummy");
    currency.set_day_counter("act_360");
    EXPECT_FALSE(currency.c_has_calendar(Level::silent));
    EXPECT_FALSE(currency.c_has_day_counter(Level::silent));
    currency.set_calendar("dummy");
    currency.set_day_counter("act_365");
    EXPECT_TRUE(currency.c_has_calendar(Level::silent));
    EXPECT_TRUE(currency.c_has_day_counter(Level::silent));
}

TEST(Currency, TakesAnEmptyNameAsAName) {
    Currency currency("EUR", true);
    currency.set_name("");
    currency.set_name("Euro");
    EXPECT_TRUE(currency.c_has_name(Level::silent));
    EXPECT_EQ(currency.c_get_name(), "");
}

TEST(Currency, ComparesTickersByteByByte) {
    Currency const euro("EUR", true);
    Currency const dollar("USD", true);
    EXPECT_LT(euro.c_cmp(dollar), 0);
    EXPECT_GT(dollar.c_cmp(euro), 0);
    EXPECT_EQ(euro, Currency("EUR", false));
}

TEST(Currency, ClonesAllFieldsIntoAnObjectOfItsOwn) {
    Currency euro("EUR", true);
    euro.set_name("Euro");
    euro.set_rank(3);
    auto const copy = euro.c_clone();
    euro.set_rank(4);
    EXPECT_EQ(copy->c_get_name(), "Euro");
    EXPECT_EQ(copy->c_get_rank(), 3);
}

}  // namespace
}  // namespace ximCORE::Data
