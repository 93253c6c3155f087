// Contracts for the tests of the runtime tree: written node by node in the encoded form, read by
// the reflection, and evaluated on a grid that is filled by hand.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "core/contract/contract.hpp"
#include "core/contract/event_manager.hpp"
#include "core/contract/if.hpp"
#include "core/contract/payments.hpp"
#include "core/contract/reflection.hpp"
#include "core/modeling/fixing_grid.hpp"
#include "core/pricing/options.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Testing {

using namespace ximCORE::Contract;  // NOLINT: tests of this namespace
using Contract::Contract;
using ximTest::LogsError;
using ximTest::LogsNothing;
using ximTest::Raises;

/// Joins fields by commas, numbers with all their digits.
template <class... Fields>
std::string payload(Fields const&... fields) {
    std::ostringstream stream;
    stream.precision(17);
    char const* separator = "";
    ((stream << separator << fields, separator = ","), ...);
    return stream.str();
}

/// Each call adds a node and gives its number in its family. Codes are those of the encoded form.
class Encoder {
 public:
    EncodedTree tree;

    int a(int op, std::string fields) { return node('a', tree.amounts, op, std::move(fields)); }
    int e(int op, std::string fields) { return node('e', tree.events, op, std::move(fields)); }
    int c(int op, std::string fields) { return node('c', tree.cashflows, op, std::move(fields)); }

    int number(double value) { return a(27, payload(value)); }
    int spot(std::string const& ticker, std::string const& date, std::string const& currency = "") {
        return a(28, payload(ticker, date, currency));
    }
    int add(int left, int right) { return a(0, payload(left, right)); }
    int mul(int left, int right) { return a(4, payload(left, right)); }
    int iff(int event, int then, int otherwise) { return a(29, payload(event, then, otherwise)); }
    int ref(std::string const& name, double value) { return a(30, payload(name, value)); }
    int reference(std::string const& name) { return a(31, name); }

    int greater(int left, int right) { return e(2, payload(left, right)); }
    int above(int amount, double level) { return e(16, payload(amount, level)); }
    int truth(bool value) { return e(21, payload(value)); }

    int both(int left, int right) { return c(0, payload(left, right)); }
    int condition(int event, int then, int otherwise, double lhs = 0.0, double rhs = 0.0) {
        return c(1, payload(event, then, otherwise, lhs, rhs));
    }
    int set(std::string const& name, int amount) { return c(3, payload(name, amount)); }
    int buy(std::string const& date, double quantity, int cashflow, int sign = 1) {
        return c(4, payload(date, quantity, cashflow, sign));
    }
    int pay(int amount, std::string const& date, std::string const& currency = "EUR",
            int sign = 1) {
        return c(5, payload(amount, date, currency, sign));
    }
    int nothing() { return c(6, "0"); }

    std::shared_ptr<CashFlow> read(int root) {
        tree.root = root;
        std::shared_ptr<CashFlow> result;
        EXPECT_TRUE(reflect_contract(tree, result));
        return result;
    }

 private:
    int node(char tag, std::uint64_t& count, int op, std::string fields) {
        auto const id = static_cast<int>(count++);
        tree.nodes.push_back({tag, id, op, std::move(fields)});
        return id;
    }
};

/// A tree with its grid: levels are set by ticker and date, flows read by date.
class Path {
 public:
    Path(std::shared_ptr<CashFlow> root, Toolbox::Date const& today, Data::Currency const& currency)
        : m_root(std::move(root)) {
        std::ignore = m_root->get_dependencies(today, &currency);
        EXPECT_TRUE(m_root->scan_all(information, true));
        grid.init(information.fixing_dates.size(), information.maturity_dates.size(),
                  information.equity_like_underlyings.size(), information.currencies.size(),
                  information.payment_dates.size());
        m_root->c_set_fixing_grid_internal(grid);
        m_root->init_flows(information.payment_dates.size());
        variables = Variables(m_root->rank_names());
        flows = Toolbox::Array1D<double>(information.payment_dates.size());
    }

    /// Where the contract reads no such fixing, nothing happens.
    Path& set(std::string const& ticker, std::string const& date, double level) {
        for (auto const* underlying : information.equity_like_underlyings)
            for (auto const* fixing : information.fixing_dates)
                if (underlying->c_get_ticker() == ticker && *fixing == Toolbox::Date(date))
                    grid.get_equity_like(*fixing, static_cast<Data::EquityLikeUnderlying&>(
                                                      *underlying->c_get_impl()))
                        .value = level;
        return *this;
    }
    /// Evaluates the path anew.
    Path& run() {
        for (auto& flow : flows) flow = 0.0;
        variables.clear();
        m_root->eval(grid, variables, flows);
        return *this;
    }
    double flow(std::string const& date) {
        run();
        for (auto const* payment : information.payment_dates)
            if (*payment == Toolbox::Date(date))
                return flows.get(static_cast<std::uint64_t>(payment->c_get_payment_rank()));
        ADD_FAILURE() << "no payment at " << date;
        return 0.0;
    }

    ContractInformation information;
    Modeling::FixingGrid grid;
    Variables variables;
    Toolbox::Array1D<double> flows;

 private:
    std::shared_ptr<CashFlow> m_root;
};

/// Shares A and B in EUR and U in USD, and the settings of the runtime at their start values.
class ContractCase : public MarketTest {
 protected:
    ContractCase() {
        Contract::s_intraday = {};
        Pricing::PricerOptions::s_options.smoothing = Pricing::SmoothingType::NONE;
        eur = currency("EUR");
        usd = currency("USD");
        share("A");
        share("B");
        share("U", "USD");
    }
    ~ContractCase() override {
        Contract::s_intraday = {};
        Pricing::PricerOptions::s_options.smoothing = Pricing::SmoothingType::NONE;
    }

    static void smooth(Pricing::SmoothingType type) {
        Pricing::PricerOptions::s_options.smoothing = type;
    }
    static void quote(std::string const& ticker, std::string const& date, double level) {
        auto const asset = cache().get_underlying(ticker, Data::Level::silent);
        cache()
            .get_spot(Date(date), asset.get(), Data::Level::silent)
            ->set_val(static_cast<float>(level));
    }
    Path path(std::shared_ptr<CashFlow> const& root) const { return Path(root, today, *eur); }
    Path path(Encoder& encoder, int root) const { return path(encoder.read(root)); }
    /// A contract of the valuation date `today` in EUR.
    Contract contract(Encoder& encoder, int root) const {
        Contract result(today, "EUR");
        EXPECT_TRUE(result.set(encoder.read(root)));
        return result;
    }
    static std::string text(CashFlow const& cashflow) {
        std::string result;
        cashflow.c_write(result, 1000);
        return result;
    }
    static std::string text(Contract const& contract) { return text(*contract.c_get_cashflow()); }

    std::shared_ptr<Data::Currency> eur;
    std::shared_ptr<Data::Currency> usd;
};

/// Writes down what a contract tells while it moves.
class Listener final : public EventManager {
 public:
    std::vector<std::string> heard;

    void add_PayReceive(PayReceive const* payment, double const* value) override {
        hear("pay", Toolbox::Date(payment->c_get_payment_date()).c_str(), value);
    }
    void add_End(Nothing const*) override { heard.emplace_back("end"); }
    void add_If(If const*, bool const* truth) override { hear("if", "", truth); }
    void add_Either(Either const*, unsigned long long const* index) override {
        hear("either", "", index);
    }
    void add_Fixing(Fixing const*, double const* level) override { hear("fixing", "", level); }
    void add_RefAmountSetter(RefAmountSetter const* setter, double const* value) override {
        hear("set", setter->c_get_name(), value);
    }
    void add_BuySell(BuySell const*) override { heard.emplace_back("buy"); }

 private:
    void hear(std::string const& what, std::string const& about, auto const* value) {
        std::ostringstream stream;
        stream << what;
        if (!about.empty()) stream << ' ' << about;
        if (value) stream << ' ' << *value;
        heard.push_back(stream.str());
    }
};

}  // namespace ximCORE::Testing
