#include "core/contract/cashflow.hpp"

#include "core/contract/if.hpp"
#include "core/contract/payments.hpp"
#include "core/contract/ranking.hpp"
#include "core/contract/variables.hpp"
#include "core/modeling/fixing_grid.hpp"

namespace ximCORE::Contract {

namespace {

constexpr std::uint64_t c_indent_step = 4;

}  // namespace

bool CashFlow::get_dependencies(Toolbox::Date const& date, Data::Currency const* pricing) {
    bool is_complete = true;
    std::vector<PayReceive*> payments;
    accumulate_payments(payments);
    for (auto* payment : payments) is_complete = payment->resolve(date, pricing) && is_complete;
    std::vector<Fixing*> fixings;  // with the conversions that the payments have made
    gather(&Harvest::fixings, fixings);
    for (auto* fixing : fixings) is_complete = fixing->resolve(date, pricing) && is_complete;
    return is_complete;
}

void CashFlow::s_release(std::shared_ptr<CashFlow>& root) {
    std::vector<std::shared_ptr<CashFlow>*> pointers;
    if (root) root->accumulate_cashflows(pointers);
    for (auto* pointer : pointers) pointer->reset();
    root.reset();
}

bool CashFlow::scan_all(ContractInformation& information, bool accumulate) {
    return (!accumulate || accumulate_all(information)) && sort_all(information, true);
}

void CashFlow::c_set_fixing_grid_internal(Modeling::FixingGrid& grid) const {
    std::vector<Fixing*> fixings;
    c_gather(&Harvest::fixings, fixings);
    for (auto const* fixing : fixings) fixing->c_open(grid);
    std::vector<PayReceive*> payments;
    c_gather(&Harvest::payments, payments);
    for (auto const* payment : payments) payment->c_open(grid);
    grid.filter();
}

std::vector<std::string> CashFlow::rank_names() {
    std::vector<NamedSlot> slots;
    accumulate_names(slots);
    auto names = rank_slots(slots);
    std::vector<If*> conditions;
    gather(&Harvest::conditions, conditions);
    Variables const layout(names);
    for (auto* condition : conditions) condition->allocate_variables(layout);
    return names;
}

void CashFlow::init_flows(std::uint64_t nb_payments) {
    std::vector<If*> conditions;
    gather(&Harvest::conditions, conditions);
    for (auto* condition : conditions) condition->allocate_flows(nb_payments);
}

void CashFlow::scale() {
    std::vector<BuySell*> purchases;
    gather(&Harvest::purchases, purchases);
    for (auto* purchase : purchases) purchase->scale_payments();
}

void CashFlow::c_write(std::string& text, std::uint64_t width) const {
    std::uint64_t indent = 0;
    c_to_string(text, indent, c_indent_step, width);
}

}  // namespace ximCORE::Contract
