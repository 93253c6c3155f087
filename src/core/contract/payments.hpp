// The cash flows without a condition: nothing, a payment, a purchase, the setting of a name, and
// two flows joined by "&".
#pragma once

#include "core/contract/composite.hpp"
#include "core/contract/fixing.hpp"
#include "core/data/currency.hpp"

namespace ximCORE::Contract {

/// Pays nothing: the end of a contract, and what is left of a payment of the past.
class Nothing final : public CashFlow {
 public:
    Nothing() = default;

    void reduce() override { replace_by(nullptr); }
    [[nodiscard]] bool c_is_nothing() const override { return true; }
    void accumulate_events(std::vector<CashFlow const*>&, std::uint64_t) override {}
    void eval(Modeling::FixingGrid&, Variables&, Toolbox::Array1D<double>&) override {}
    void aeval(Toolbox::AAD::Tape&, Toolbox::AAD::SweepType, bool, Modeling::FixingGrid&,
               Variables&, Toolbox::Array1D<double>&, Toolbox::Array1D<double>&) override {}
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   double& price) const override;
    [[nodiscard]] bool eval(double& value) override;
    void c_to_string(std::string& text, std::uint64_t& indent, std::uint64_t const& step,
                     std::uint64_t width) const override;
    std::shared_ptr<CashFlow> clone() const override;
};

/// Pays (sign 1) or receives (sign -1) an amount on a date in a currency.
class PayReceive final : public Composite<PayReceive, CashFlow> {
 public:
    /// `amount`: number or node.
    PayReceive(Child<Amount> amount, Toolbox::Date const& date, std::string currency, short sign);

    Toolbox::Date const& c_get_payment_date() const { return m_date; }
    std::string const& c_get_currency_name() const { return m_currency_name; }
    /// Null before `get_dependencies`.
    std::shared_ptr<Data::Currency> const& c_get_currency() const { return m_currency; }
    Amount& c_get_amount() const { return *m_amount; }
    /// The rate into the contract's currency at the payment date; null when none is needed.
    std::shared_ptr<Fixing> const& c_get_conversion() const { return m_conversion; }
    /// Whether it pays.
    [[nodiscard]] bool c_get_payreceive() const { return m_sign > 0; }
    /// The sign, times the factors of the purchases above.
    double c_get_scale() const { return m_scale; }

    /// Multiplies what is paid.
    void scale(double factor) { m_scale *= factor; }
    /// See `CashFlow::get_dependencies`: currency and conversion.
    [[nodiscard]] bool resolve(Toolbox::Date const& date, Data::Currency const* pricing);
    /// Opens the cell of its rates adjustment.
    void c_open(Modeling::FixingGrid& grid) const;

    void reduce() override;
    [[nodiscard]] bool accumulate(Harvest& harvest) override;
    void accumulate_events(std::vector<CashFlow const*>& list, std::uint64_t base) override;
    Toolbox::Date c_get_maturity_date(Toolbox::Date const&) const override { return m_date; }
    /// (conversion * amount) * exp(-a) * scale, where a is the rates adjustment of currency and
    /// date.
    void eval(Modeling::FixingGrid& grid, Variables& variables,
              Toolbox::Array1D<double>& flows) override;
    void eval_details(Modeling::FixingGrid& grid, Variables& variables, FixingDetails& fixings,
                      EventDetails& events, Toolbox::Array1D<double>& flows,
                      short& kill_rank) override;
    void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
               Modeling::FixingGrid& grid, Variables& variables, Toolbox::Array1D<double>& flows,
               Toolbox::Array1D<double>& flow_adjoints) override;
    /// 0 once the payment date is past.
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   double& price) const override;
    double c_eval_carr_madan(double x) const override;
    [[nodiscard]] bool eval(double& value) override;
    void compute_PDE_price(Toolbox::Date const& date, Modeling::PDEHelper* helper,
                           Toolbox::Grid& values) override;
    void emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, std::uint64_t& indent, std::uint64_t const& step,
                     std::uint64_t width) const override;
    void move(Toolbox::Date const& date, NamedValues& values, EventManager* manager,
              Intraday const& intraday, bool in_choice, FixingOverrides const& fixings) override;
    std::shared_ptr<CashFlow> clone() const override;

    auto children() { return std::tie(m_amount); }
    auto children() const { return std::tie(m_amount); }

 private:
    /// Adds rate * amount, adjusted and scaled, to the slot of the payment.
    void add_flow(double rate, double amount, Modeling::FixingGrid& grid,
                  Toolbox::Array1D<double>& flows) const;

    Toolbox::Date m_date;
    std::shared_ptr<Data::Currency> m_currency;
    Child<Amount> m_amount;
    std::shared_ptr<Fixing> m_conversion;
    double m_scale;
    short m_sign;
    std::string m_currency_name;
};

/// Buys (sign 1) or sells (sign -1) a quantity of a flow on a date.
class BuySell final : public Composite<BuySell, CashFlow> {
 public:
    BuySell(Toolbox::Date const& date, double quantity, Child<CashFlow> child, short sign);

    Toolbox::Date const& c_get_transaction_date() const { return m_date; }
    double c_get_quantity() const { return m_quantity; }
    /// Whether it buys.
    [[nodiscard]] bool c_get_buysell() const { return m_sign > 0; }
    /// Positions of the first and last node below, in the list of `accumulate_events`.
    int c_get_start() const { return m_start; }
    int c_get_end() const { return m_end; }

    /// Multiplies the payments below by sign * quantity: on a path the purchase then costs nothing.
    void scale_payments();

    void reduce() override;
    [[nodiscard]] bool accumulate(Harvest& harvest) override;
    void accumulate_events(std::vector<CashFlow const*>& list, std::uint64_t base) override;
    void accumulate_cashflows_internal(std::vector<std::shared_ptr<CashFlow>*>& out) override;
    Toolbox::Date c_get_maturity_date(Toolbox::Date const& fallback) const override {
        return m_child->c_get_maturity_date(fallback);
    }
    void eval(Modeling::FixingGrid& grid, Variables& variables,
              Toolbox::Array1D<double>& flows) override {
        m_child->eval(grid, variables, flows);
    }
    void eval_details(Modeling::FixingGrid& grid, Variables& variables, FixingDetails& fixings,
                      EventDetails& events, Toolbox::Array1D<double>& flows,
                      short& kill_rank) override;
    void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
               Modeling::FixingGrid& grid, Variables& variables, Toolbox::Array1D<double>& flows,
               Toolbox::Array1D<double>& flow_adjoints) override;
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   double& price) const override;
    double c_eval_carr_madan(double x) const override { return m_child->c_eval_carr_madan(x); }
    [[nodiscard]] bool eval(double& value) override { return m_child->eval(value); }
    void compute_PDE_price(Toolbox::Date const& date, Modeling::PDEHelper* helper,
                           Toolbox::Grid& values) override;
    void emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, std::uint64_t& indent, std::uint64_t const& step,
                     std::uint64_t width) const override;
    void move(Toolbox::Date const& date, NamedValues& values, EventManager* manager,
              Intraday const& intraday, bool in_choice, FixingOverrides const& fixings) override;
    std::shared_ptr<CashFlow> clone() const override;

    auto children() { return std::tie(m_child); }
    auto children() const { return std::tie(m_child); }

 private:
    Toolbox::Date m_date;
    double m_quantity;
    Child<CashFlow> m_child;
    int m_start{0};
    int m_end{0};
    short m_sign;
};

/// Gives a name the value of an amount, for the references that the walk meets later.
class RefAmountSetter final : public Composite<RefAmountSetter, CashFlow> {
 public:
    RefAmountSetter(std::string name, Child<Amount> amount);

    std::string const& c_get_name() const { return m_name; }
    Amount& c_get_amount() const { return *m_amount; }

    void reduce() override;
    [[nodiscard]] bool accumulate(Harvest& harvest) override;
    void accumulate_events(std::vector<CashFlow const*>& list, std::uint64_t base) override;
    void eval(Modeling::FixingGrid& grid, Variables& variables,
              Toolbox::Array1D<double>& flows) override;
    void eval_details(Modeling::FixingGrid& grid, Variables& variables, FixingDetails& fixings,
                      EventDetails& events, Toolbox::Array1D<double>& flows,
                      short& kill_rank) override;
    void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
               Modeling::FixingGrid& grid, Variables& variables, Toolbox::Array1D<double>& flows,
               Toolbox::Array1D<double>& flow_adjoints) override;
    /// Leaves `price` as it is.
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   double& price) const override;
    [[nodiscard]] bool eval(double& value) override;
    void emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, std::uint64_t& indent, std::uint64_t const& step,
                     std::uint64_t width) const override;
    void move(Toolbox::Date const& date, NamedValues& values, EventManager* manager,
              Intraday const& intraday, bool in_choice, FixingOverrides const& fixings) override;
    std::shared_ptr<CashFlow> clone() const override;

    auto children() { return std::tie(m_amount); }
    auto children() const { return std::tie(m_amount); }

 private:
    [[nodiscard]] bool c_is_past(Toolbox::Date const& date, Intraday const& intraday) const;

    std::string m_name;
    short m_rank{-1};
    Child<Amount> m_amount;
};

/// Left, then right. A list a & b & c is a & (b & c): every operation walks its right spine in a
/// loop.
class CashFlowBinaryOperation final : public CashFlow {
 public:
    CashFlowBinaryOperation(Child<CashFlow> left, Child<CashFlow> right);
    /// Frees the spine in a loop.
    ~CashFlowBinaryOperation() override;

    CashFlow& c_get_left() const { return *m_left; }
    CashFlow& c_get_right() const { return *m_right; }

    void c_accumulate_numbers(ChildNumbers& out) const override;
    [[nodiscard]] bool populate(NodeLists const& lists) override;
    void reduce() override;
    [[nodiscard]] bool accumulate(Harvest& harvest) override;
    void accumulate_events(std::vector<CashFlow const*>& list, std::uint64_t base) override;
    void accumulate_cashflows_internal(std::vector<std::shared_ptr<CashFlow>*>& out) override;
    Toolbox::Date c_get_maturity_date(Toolbox::Date const& fallback) const override;
    void eval(Modeling::FixingGrid& grid, Variables& variables,
              Toolbox::Array1D<double>& flows) override;
    void eval_details(Modeling::FixingGrid& grid, Variables& variables, FixingDetails& fixings,
                      EventDetails& events, Toolbox::Array1D<double>& flows,
                      short& kill_rank) override;
    void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
               Modeling::FixingGrid& grid, Variables& variables, Toolbox::Array1D<double>& flows,
               Toolbox::Array1D<double>& flow_adjoints) override;
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   double& price) const override;
    double c_eval_carr_madan(double x) const override;
    [[nodiscard]] bool eval(double& value) override;
    void compute_PDE_price(Toolbox::Date const& date, Modeling::PDEHelper* helper,
                           Toolbox::Grid& values) override;
    void emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, std::uint64_t& indent, std::uint64_t const& step,
                     std::uint64_t width) const override;
    void move(Toolbox::Date const& date, NamedValues& values, EventManager* manager,
              Intraday const& intraday, bool in_choice, FixingOverrides const& fixings) override;
    std::shared_ptr<CashFlow> clone() const override;

 private:
    /// The list that goes on at the right, null at the end of the spine.
    CashFlowBinaryOperation* c_get_next() const;
    /// The members of the list in their order, at least two.
    std::vector<CashFlow const*> c_get_members() const;
    /// Visits the members of the list in their order until one answers false, which is the answer.
    template <class Visit>
    bool c_all_members(Visit&& visit) const;
    /// This node and those below it on the right spine, from the top.
    std::vector<CashFlowBinaryOperation*> spine();
    /// Takes over what became of both sides, and of itself.
    void join();

    Child<CashFlow> m_left;
    Child<CashFlow> m_right;
    std::vector<CashFlow*> m_swept;  ///< the members in the order of the last forward sweep
};

}  // namespace ximCORE::Contract
