// Contracts node by node, for benchmarks below the script language.

#pragma once

#include <memory>
#include <sstream>
#include <string>

#include "core/contract/cashflow.hpp"
#include "core/contract/reflection.hpp"
#include "core/toolbox/date.hpp"

namespace ximBench {

class TreeWriter {
 public:
    /// A node of this code; its number.
    int amount(int op, auto const&... fields) {
        auto const id = static_cast<int>(m_tree.amounts++);
        m_tree.nodes.push_back({'a', id, op, join(fields...)});
        return id;
    }
    /// 100 x max(`sum` / `count` - 1, 0), paid in EUR: the tree, null if it does not read.
    std::shared_ptr<ximCORE::Contract::CashFlow> pay_call(int sum, double count,
                                                          ximCORE::Toolbox::Date const& date) {
        int const call = amount(22, amount(26, amount(21, sum, count), 1), 0);
        int const scaled = amount(24, call, 100);
        m_tree.nodes.push_back(
            {'c', 0, 5, join(scaled, ximCORE::Toolbox::Date(date).c_str(), "EUR", 1)});
        m_tree.cashflows = 1;
        std::shared_ptr<ximCORE::Contract::CashFlow> root;
        return ximCORE::Contract::reflect_contract(m_tree, root) ? root : nullptr;
    }

 private:
    static std::string join(auto const&... fields) {
        std::ostringstream text;
        char const* separator = "";
        ((text << separator << fields, separator = ","), ...);
        return text.str();
    }

    ximCORE::Contract::EncodedTree m_tree;
};

}  // namespace ximBench
