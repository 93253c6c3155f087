// Contracts for tests, written node by node in the encoded form and read by the reflection.

#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>

#include "core/contract/cashflow.hpp"
#include "core/contract/reflection.hpp"
#include "core/toolbox/date.hpp"

namespace ximCORE::Testing {

/// Each call adds a node and gives its number in its family.
class TreeBuilder {
 public:
    // codes of amounts between two amounts, of a number to the left (+ 14), and to the right
    enum Binary { add, div, max, min, mul, sub };
    enum Right {
        add_number = 20,
        div_number,
        max_number,
        min_number,
        mul_number,
        pow_number,
        sub_number
    };
    // codes of an amount compared with a number to its right
    enum Comparison { equal = 15, greater, greater_or_equal, lower, lower_or_equal, not_equal };

    int fixing(std::string const& ticker, Toolbox::Date const& date) {
        return amount(28, ticker + "," + date.c_str() + ",");
    }
    int number(double x) { return amount(27, text(x)); }
    int constant(std::string const& name, double x) { return amount(30, name + "," + text(x)); }
    int reference(std::string const& name) { return amount(31, name); }
    int binary(Binary op, int left, int right) {
        return amount(op, text(left) + "," + text(right));
    }
    int right(Right op, int left, double number) {
        return amount(op, text(left) + "," + text(number));
    }
    int compare(Comparison op, int left, double number) {
        return event(op, text(left) + "," + text(number));
    }

    int pay(int paid, Toolbox::Date const& date, std::string const& currency, int sign = 1) {
        return cashflow(5, text(paid) + "," + date.c_str() + "," + currency + "," + text(sign));
    }
    int set(std::string const& name, int value) { return cashflow(3, name + "," + text(value)); }
    int both(int left, int right) { return cashflow(0, text(left) + "," + text(right)); }
    int condition(int event, int then, int otherwise, double left_spread = 0.0,
                  double right_spread = 0.0) {
        return cashflow(1, text(event) + "," + text(then) + "," + text(otherwise) + "," +
                               text(left_spread) + "," + text(right_spread));
    }
    /// At the date, the best of the flows for the holder (owner 1), the worst for the issuer's (0).
    int choice(int owner, Toolbox::Date const& date, std::initializer_list<int> flows) {
        std::string payload = text(owner) + "," + date.c_str();
        for (int const flow : flows) payload += "," + text(flow);
        return cashflow(2, payload);
    }
    /// Any amount or event by its code.
    int amount_of(int code, std::string const& payload) { return amount(code, payload); }
    int event_of(int code, std::string const& payload) { return event(code, payload); }
    int nothing() { return cashflow(6, "0"); }

    /// max(amount - strike, 0)
    int call(int underlying, double strike) {
        return right(max_number, right(sub_number, underlying, strike), 0.0);
    }

    /// The tree under a cash flow.
    std::shared_ptr<Contract::CashFlow> build(int root) {
        m_tree.root = root;
        std::shared_ptr<Contract::CashFlow> result;
        EXPECT_TRUE(Contract::reflect_contract(m_tree, result));
        return result;
    }

 private:
    static std::string text(auto const& x) {
        std::ostringstream stream;
        stream.precision(17);
        stream << x;
        return stream.str();
    }
    int node(char tag, std::uint64_t& count, int op, std::string payload) {
        auto const id = static_cast<int>(count++);
        m_tree.nodes.push_back({tag, id, op, std::move(payload)});
        return id;
    }
    int amount(int op, std::string payload) {
        return node('a', m_tree.amounts, op, std::move(payload));
    }
    int event(int op, std::string payload) {
        return node('e', m_tree.events, op, std::move(payload));
    }
    int cashflow(int op, std::string payload) {
        return node('c', m_tree.cashflows, op, std::move(payload));
    }

    Contract::EncodedTree m_tree;
};

}  // namespace ximCORE::Testing
