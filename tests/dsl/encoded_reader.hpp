// Reads encoded contracts in tests: as text, and as numbers by an evaluator of its own.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "dsl/cashflow.hpp"
#include "dsl/encoded.hpp"
#include "ximAPI/cashflow.hpp"

namespace ximTest {

inline std::string text_of(ximDSL::Encoded const& encoded) {
    std::ostringstream out;
    ximDSL::Toolkit::serialize(encoded, out);
    return out.str();
}

/// The encoded text of a fresh tree.
inline std::string text_of(ximDSL::CashFlowPtr const& root) {
    ximDSL::Encoded encoded;
    if (!root->encode(encoded)) return "incomplete";
    return text_of(encoded);
}

/// The encoded text of a product; "rejected" if it does not build.
inline std::string text_of(ximAPI::ICashFlow& product) {
    return product.build() ? text_of(*product.encoded) : "rejected";
}

inline std::string text_of_script(std::string const& script) {
    ximAPI::Console console(script);
    return text_of(console);
}

/// The items of an encoded contract by family and number, with the payload split at its commas.
class EncodedReader {
 public:
    struct Item {
        int op;
        std::vector<std::string> fields;
    };

    explicit EncodedReader(ximDSL::Encoded const& encoded) : m_root(encoded.root) {
        for (auto const& item : encoded.items) {
            std::stringstream payload(item.payload.str());
            Item read{item.op, {}};
            for (std::string field; std::getline(payload, field, ',');)
                read.fields.push_back(field);
            m_items[item.tag][item.id] = std::move(read);
        }
    }

    [[nodiscard]] Item const& at(char tag, int id) const { return m_items.at(tag).at(id); }
    [[nodiscard]] Item const& root() const { return at('c', m_root); }
    [[nodiscard]] std::size_t count(char tag) const {
        return m_items.contains(tag) ? m_items.at(tag).size() : 0;
    }

    /// The levels of fixings, under "ticker@date".
    std::map<std::string, double> fixings;

    /// The value of an amount, given the fixings and what has been set.
    [[nodiscard]] double amount(int id) const {
        auto const& item = at('a', id);
        auto const op = item.op;
        auto const& fields = item.fields;
        auto const operand = [&](std::size_t field) { return amount(std::stoi(fields[field])); };
        auto const number = [&](std::size_t field) { return std::stod(fields[field]); };
        if (op < 6) return combine(op, operand(0), operand(1));
        if (op >= 14 && op < 20) return combine(op - 14, number(0), operand(1));
        if (op >= 20 && op < 25) return combine(op - 20, operand(0), number(1));
        switch (op) {
            case 6:
                return std::abs(operand(0));
            case 7:
                return std::cos(operand(0));
            case 8:
                return std::exp(operand(0));
            case 9:
                return std::log(operand(0));
            case 10:
                return std::sin(operand(0));
            case 11:
                return std::sqrt(operand(0));
            case 12:
                return -operand(0);
            case 13:
                return std::tan(operand(0));
            case 25:
                return std::pow(operand(0), number(1));
            case 26:
                return operand(0) - number(1);
            case 27:
                return number(0);
            case 28:
                return fixings.at(fields[0] + '@' + fields[1]);
            case 29:
                return event(std::stoi(fields[0])) ? operand(1) : operand(2);
            case 30:
                return number(1);
            case 31:
                return m_names.at(fields[0]);
            default:
                throw std::logic_error("unknown amount: " + std::to_string(op));
        }
    }

    [[nodiscard]] bool event(int id) const {
        auto const& item = at('e', id);
        auto const op = item.op;
        auto const& fields = item.fields;
        auto const operand = [&](std::size_t field) { return amount(std::stoi(fields[field])); };
        auto const number = [&](std::size_t field) { return std::stod(fields[field]); };
        if (op >= 1 && op < 7) return compare(op, operand(0), operand(1));
        if (op >= 9 && op < 15) return compare(op - 8, number(0), operand(1));
        if (op >= 15 && op < 21) return compare(op - 14, operand(0), number(1));
        switch (op) {
            case 0:
                return !event(std::stoi(fields[0]));
            case 7:
                return event(std::stoi(fields[0])) && event(std::stoi(fields[1]));
            case 8:
                return event(std::stoi(fields[0])) || event(std::stoi(fields[1]));
            default:
                return number(0) != 0.0;
        }
    }

    /// What the contract pays, by payment date.
    std::map<std::string, double> flows() {
        std::map<std::string, double> paid;
        pay(m_root, 1.0, paid);
        return paid;
    }

 private:
    static double combine(int op, double x, double y) {
        switch (op) {
            case 0:
                return x + y;
            case 1:
                return x / y;
            case 2:
                return std::max(x, y);
            case 3:
                return std::min(x, y);
            case 4:
                return x * y;
            default:
                return x - y;
        }
    }

    static bool compare(int op, double x, double y) {
        switch (op) {
            case 1:
                return x == y;
            case 2:
                return x > y;
            case 3:
                return x >= y;
            case 4:
                return x < y;
            case 5:
                return x <= y;
            default:
                return x != y;
        }
    }

    void pay(int id, double quantity, std::map<std::string, double>& paid) {
        auto const& item = at('c', id);
        auto const op = item.op;
        auto const& fields = item.fields;
        auto const child = [&](std::size_t field) { return std::stoi(fields[field]); };
        switch (op) {
            case 0:
                pay(child(0), quantity, paid);
                pay(child(1), quantity, paid);
                break;
            case 1:
                pay(event(child(0)) ? child(1) : child(2), quantity, paid);
                break;
            case 3:
                m_names[fields[0]] = amount(child(1));
                break;
            case 4:
                pay(child(2), quantity * std::stod(fields[1]) * child(3), paid);
                break;
            case 5:
                paid[fields[1]] += quantity * amount(child(0)) * child(3);
                break;
            case 6:
                break;
            default:
                throw std::logic_error("no choice is made here");
        }
    }

    int m_root;
    std::map<char, std::map<int, Item>> m_items;
    std::map<std::string, double> m_names;
};

/// What the expression of a script is worth, as the amount of a payment; NaN if the script is
/// rejected.
inline double value_of(std::string const& expression) {
    ximAPI::Console console("Pay(" + expression + ",2025-07-01,EUR)");
    if (!console.build()) return std::nan("");
    EncodedReader const reader(*console.encoded);
    return reader.amount(std::stoi(reader.root().fields[0]));
}

}  // namespace ximTest
