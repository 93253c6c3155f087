// Both engines of the simulation on contracts made at random, with every operator of the language.

#include <array>
#include <random>

#include "api/bridge/contract.hpp"
#include "core/contract/cashflow.hpp"
#include "support/both_engines.hpp"
#include "support/precompiled.hpp"
#include "ximAPI/cashflow.hpp"

namespace ximCORE::Pricing {
namespace {

using namespace ximDSL;

/// Makes contracts on the shares A and B in EUR and Q in USD.
class ContractWriter {
 public:
    explicit ContractWriter(unsigned seed) : m_random(seed) {}

    CashFlowPtr contract() {
        CashFlowPtr all = statement(3);
        for (auto count = pick(4); count > 0; --count)
            all = all & (pick(5) == 0 ? memory_coupon() : statement(3));
        return all & Pay(AmountRef(name()) + fixing(), payment_date(), currency());
    }

    std::size_t pick(std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_random);
    }

 private:
    std::string payment_date() { return c_payment_dates[pick(c_payment_dates.size())]; }
    std::string fixing_date() { return c_fixing_dates[pick(c_fixing_dates.size())]; }
    std::string currency() { return pick(3) == 0 ? "USD" : "EUR"; }
    std::string name() { return std::string(1, "xyz"[pick(3)]); }
    float number() { return 0.25F * static_cast<float>(pick(600)) - 25.0F; }

    AmountPtr fixing() {
        std::string const ticker(1, "ABQ"[pick(3)]);
        return Spot(ticker, fixing_date(), ticker == "Q" && pick(2) == 0 ? "EUR" : "");
    }

    AmountPtr leaf() {
        switch (pick(8)) {
            case 0:
                return Cst(number());
            case 1:
                return CstRef(pick(2) == 0 ? "k" : "l", number());
            case 2:
                return AmountRef(name());
            default:
                return fixing();
        }
    }

    AmountPtr amount(int depth) {
        if (depth == 0) return leaf();
        if (!m_amounts.empty() && pick(6) == 0) return m_amounts[pick(m_amounts.size())];
        auto const made = operation(depth - 1);
        m_amounts.push_back(made);
        return made;
    }

    AmountPtr operation(int depth) {
        switch (pick(24)) {
            case 0:
                return Max(amount(depth), amount(depth));
            case 1:
                return Max(amount(depth), number());
            case 2:
                return Max(number(), amount(depth));
            case 3:
                return Min(amount(depth), amount(depth));
            case 4:
                return Min(amount(depth), number());
            case 5:
                return amount(depth) + amount(depth);
            case 6:
                return number() + amount(depth);
            case 7:
                return amount(depth) - amount(depth);
            case 8:
                return number() - amount(depth);
            case 9:
                return amount(depth) * amount(depth);
            case 10:
                return amount(depth) * number();
            case 11:
                return amount(depth) / amount(depth);
            case 12:
                return number() / amount(depth);
            case 13:
                return amount(depth) / number();
            case 14:
                return -amount(depth);
            case 15:
                return Abs(amount(depth));
            case 16:
                return pick(2) == 0 ? Cos(leaf()) : Sin(leaf());
            case 17:
                return pick(2) == 0 ? Tan(0.01F * leaf()) : Exp(0.01F * leaf());
            case 18:
                return Log(amount(depth));
            case 19:
                return Sqrt(amount(depth));
            case 20:
                return Pow(amount(depth), 0.5F * static_cast<float>(pick(6)));
            case 21:
                return sorted(depth);
            default:
                return If(event(depth))(amount(depth), amount(depth));
        }
    }

    AmountPtr sorted(int depth) {
        std::vector<AmountPtr> amounts;
        for (auto count = 1 + pick(6); count > 0; --count) amounts.push_back(amount(depth));
        auto const place = static_cast<int>(pick(amounts.size()));
        return Sorted(amounts)[place];
    }

    EventPtr event(int depth) {
        switch (pick(depth > 0 ? 14 : 9)) {
            case 0:
                return amount(depth) > amount(depth);
            case 1:
                return amount(depth) >= amount(depth);
            case 2:
                return amount(depth) < number();
            case 3:
                return amount(depth) <= number();
            case 4:
                return number() < amount(depth);
            case 5:
                return number() >= amount(depth);
            case 6:
                return fixing() == fixing();
            case 7:
                return fixing() != number();
            case 8:
                return Cst(pick(2) == 0);
            case 9:
            case 10:
                return event(depth - 1) && event(depth - 1);
            case 11:
            case 12:
                return event(depth - 1) || event(depth - 1);
            default:
                return !event(depth - 1);
        }
    }

    CashFlowPtr statement(int depth) {
        switch (pick(depth > 0 ? 12 : 4)) {
            case 0:
                return Pay(amount(2), payment_date(), currency());
            case 1:
                return Receive(amount(2), payment_date(), currency());
            case 2:
                return ximDSL::Set(name(), amount(2));
            case 3:
                return pick(2) == 0 ? End() : Pay(Spot("A", "2022-07-01", ""), "2022-08-01", "EUR");
            case 4:
            case 5:
                return statement(depth - 1) & statement(depth - 1);
            case 6:
                return Buy(payment_date(), number(), statement(depth - 1));
            case 7:
                return Sell(payment_date(), statement(depth - 1));
            default:
                return condition(depth)(statement(depth - 1), statement(depth - 1));
        }
    }

    If condition(int depth) {
        switch (pick(4)) {
            case 0:
                return If(event(depth), 5.0F);
            case 1:
                return If(event(depth), pick(2) == 0 ? 0.0F : 2.0F, 8.0F);
            default:
                return If(event(depth));
        }
    }

    /// Pays what was missed before, once a share stands high enough.
    CashFlowPtr memory_coupon() {
        CashFlowPtr all = ximDSL::Set("x", Cst(0.0F));
        for (auto const* date : {"2023-07-02", "2024-01-01", "2025-01-01"}) {
            auto const above = Min(Spot("A", date, ""), Spot("B", date, "")) > CstRef("k", 80.0F);
            auto const paid = Pay(5.0F + AmountRef("x"), date, "EUR") & ximDSL::Set("x", Cst(0.0F));
            auto const condition = pick(2) == 0 ? If(above, 1.0F) : If(above);
            all = all & condition(paid, ximDSL::Set("x", AmountRef("x") + 5.0F));
        }
        return all;
    }

    // in the past, today, and to come
    static constexpr auto c_fixing_dates = std::to_array<char const*>(
        {"2022-07-01", "2023-01-01", "2023-07-02", "2024-01-01", "2024-06-03", "2025-01-01"});
    static constexpr auto c_payment_dates =
        std::to_array<char const*>({"2023-07-02", "2024-01-01", "2024-06-05", "2025-01-06"});

    std::mt19937 m_random;
    std::vector<AmountPtr> m_amounts;
};

class RandomContractsTest : public BothEnginesTest {
 protected:
    RandomContractsTest() {
        for (auto const* ticker : {"EUR", "USD"}) add_currency(ticker);
        auto const a = add_share("A", 100.0, 0.25);
        auto const b = add_share("B", 80.0, 0.375);
        auto const q = add_share("Q", 120.0, 0.5, "USD");
        auto const rate = exchange_rate("USDEUR", "USD", "EUR");
        add_market(*rate, 0.875, 0.125);
        std::vector const assets{a, b, q, rate};
        for (std::size_t i = 0; i < assets.size(); ++i) {
            for (std::size_t j = 0; j < i; ++j) correlate(*assets[i], *assets[j], 0.25);
            cache()
                .get_spot(Date(2022, 7, 1), assets[i].get(), Data::Level::silent)
                ->set_val(i == 3 ? 0.75F : 90.0F);
        }
    }
    ~RandomContractsTest() override { Contract::Contract::s_intraday = {}; }

    /// Null for a contract that asks today for a fixing to come.
    std::unique_ptr<Contract::Contract> make(CashFlowPtr const& root) {
        ximAPI::Contract record;
        record.Product = std::make_unique<ximAPI::CashFlow>(root);
        auto made = std::make_unique<Contract::Contract>(today, "EUR");
        EXPECT_TRUE(ximAPI::Toolkit::set_contract(record, *made));
        EXPECT_TRUE(made->get_dependencies());
        return made->move(today, {}, nullptr) ? std::move(made) : nullptr;
    }

    /// A square root has no text, so that the contract ends there.
    static std::string text_of(Contract::Contract const& priced) {
        std::string text;
        std::uint64_t indent = 0;
        try {
            priced.get_current()->c_to_string(text, indent, 2, 100);
        } catch (std::runtime_error const&) {
            text += "...";
        }
        return text;
    }

    void expect_agreement(unsigned seed) {
        ContractWriter writer(seed);
        Contract::Contract::s_intraday.IntradayFixings = writer.pick(2) == 0;
        auto const priced = make(writer.contract());
        if (priced == nullptr) return;
        ++nb_priced;
        reset_settings();
        PricerOptions::s_options.smoothing = static_cast<SmoothingType>(writer.pick(4));
        MCPricerOptions::s_options.trials = 130;
        MCPricerOptions::s_options.antithetic_factor = std::array{0.0, 0.3, 0.5}.at(writer.pick(3));
        if (seed % 5 == 0)
            expect_same_ladder(*priced, {point("k", 70.0), point("l", -3.0)}, 100.0, 1e-10);
        if (seed % 15 == 0) {
            auto const direction = [&] { return static_cast<std::int32_t>(writer.pick(3)) - 1; };
            MCPricerOptions::s_options.trials = 66;
            activate_block_greeks(direction(), direction(), direction());
        }
        auto const block = price(*priced, Engine::automatic);
        expect_same(block, price(*priced, Engine::reference), 100.0, 1e-10);
        nb_moving += block.price.standard_error > 0.0 ? 1 : 0;
        if (seed % 3 == 0) {
            activate_adjoints();
            auto const adjoints = price(*priced, Engine::automatic);
            expect_same(adjoints, price(*priced, Engine::reference), 100.0, 1e-10);
        }
        if (HasFailure()) ADD_FAILURE() << "seed " << seed << '\n' << text_of(*priced);
    }

    int nb_priced{0};
    int nb_moving{0};  ///< whose price is a number and not the same on all paths
};

TEST_F(RandomContractsTest, ArePricedAlikeByBothEngines) {
    for (unsigned seed = 1; nb_priced < 2000 && !HasFailure(); ++seed) expect_agreement(seed);
    EXPECT_GT(nb_moving, 1000);
}

}  // namespace
}  // namespace ximCORE::Pricing
