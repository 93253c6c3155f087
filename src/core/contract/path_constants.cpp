#include "core/contract/path_constants.hpp"

#include <Eigen/Core>
#include <vector>

#include "core/contract/composite.hpp"
#include "core/contract/leaves.hpp"

namespace ximCORE::Contract {

namespace {

/// An amount that is worked out at its first use on a path.
class PathConstant final : public Composite<PathConstant, Amount> {
 public:
    PathConstant(Child<Amount> amount, std::uint64_t const& path)
        : m_amount(std::move(amount)), m_path(&path) {}

    double eval(Modeling::FixingGrid& grid, Variables& variables) override {
        if (m_known_path != *m_path) {
            m_value = m_amount->eval(grid, variables);
            m_known_path = *m_path;
        }
        return m_value;
    }
    [[nodiscard]] bool eval(double& value, Data::Level level) override {
        return m_amount->eval(value, level);
    }
    double eval_antithetic(Modeling::FixingGrid& grid, Variables& variables) override {
        return m_amount->eval_antithetic(grid, variables);
    }
    void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
               Modeling::FixingGrid& grid, Variables& variables, double& value,
               double& adjoint) override {
        m_amount->aeval(tape, sweep, antithetic, grid, variables, value, adjoint);
    }
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override { return m_amount->eval(helper); }
    Emitter::Slot emit(Emitter& emitter) const override { return m_amount->emit(emitter); }
    void c_to_string(std::string& text, bool bracket) const override {
        m_amount->c_to_string(text, bracket);
    }
    std::shared_ptr<Amount> clone() const override { return copy_tree(*this); }

    auto children() { return std::tie(m_amount); }
    auto children() const { return std::tie(m_amount); }

 private:
    Child<Amount> m_amount;
    std::uint64_t const* m_path;
    std::uint64_t m_known_path{0};
    double m_value{0.0};
};

bool is_changing(Amount const& amount, std::set<std::string> const& names) {
    auto const* constant = dynamic_cast<Ref const*>(&amount);
    return (constant != nullptr && names.contains(constant->c_get_name())) ||
           dynamic_cast<RefAmount const*>(&amount) != nullptr;
}

/// For each position, how many of the amounts before it change between two evaluations on one path.
std::vector<std::size_t> count_changing(std::vector<AmountPlace> const& places,
                                        std::set<std::string> const& names) {
    std::vector<std::size_t> counts{0};
    for (auto const& place : places)
        counts.push_back(counts.back() + (is_changing(**place.amount, names) ? 1 : 0));
    return counts;
}

}  // namespace

void keep_path_constants(CashFlow& root, std::set<std::string> const& changing,
                         std::uint64_t const& path) {
    std::vector<AmountPlace> places;
    Harvest harvest;
    harvest.amounts = &places;
    std::ignore = root.accumulate(harvest);  // only a walk for everything can fail
    auto const counts = count_changing(places, changing);
    for (std::size_t i = 0; i < places.size();) {
        auto const& [amount, end] = places[i];
        bool const is_leaf = end == i + 1;
        if (is_leaf || counts[end] != counts[i]) {
            ++i;
            continue;
        }
        *amount = std::make_shared<PathConstant>(Child<Amount>(std::move(*amount)), path);
        i = end;
    }
}

}  // namespace ximCORE::Contract
