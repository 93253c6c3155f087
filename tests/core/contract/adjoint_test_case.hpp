// A tree with both sides of its grid, for tests of its adjoint form.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "core/contract/contract_test_case.hpp"
#include "support/adjoints.hpp"

namespace ximCORE::Testing {

using Pricing::SmoothingType;
using Toolbox::AAD::SweepType;
using Toolbox::AAD::Tape;
using ximTest::Values;

/// The cells are those that the tree reads: levels, then the rates adjustments of its payments.
class AdjointPath : public Path {
 public:
    using Cell = Modeling::FixingGrid::Cell;

    AdjointPath(std::shared_ptr<CashFlow> root, Toolbox::Date const& today,
                Data::Currency const& currency)
        : Path(root, today, currency), m_root(std::move(root)), m_adjoints(flows.c_get_size()) {
        for (auto const* underlying : information.equity_like_underlyings)
            for (auto const* fixing : information.fixing_dates)
                keep(grid.get_equity_like(
                    *fixing, static_cast<Data::EquityLikeUnderlying&>(*underlying->c_get_impl())));
        m_nb_levels = cells.size();
        for (auto const* unit : information.currencies)
            for (auto const* payment : information.payment_dates)
                keep(grid.get_stochastic_rates_adjustment(*unit, *payment));
    }

    std::vector<Cell*> cells;

    /// Random levels around 1, adjustments around 0. A side has levels of its own, both sides share
    /// the adjustments.
    Values draw(std::mt19937& random, Values const& like = {}) const {
        std::uniform_real_distribution<double> level(0.5, 1.5);
        std::uniform_real_distribution<double> adjustment(-0.1, 0.1);
        Values values(cells.size());
        for (std::size_t i = 0; i < cells.size(); ++i)
            values[i] = i < m_nb_levels ? level(random)
                        : like.empty()  ? adjustment(random)
                                        : like[i];
        return values;
    }

    /// What `eval` pays on a plain path.
    Values eval_flows(Values const& values) {
        for (std::size_t i = 0; i < cells.size(); ++i) cells[i]->value = values[i];
        run();
        return {flows.begin(), flows.end()};
    }
    void set_sides(Values const& drawn, Values const& mirrored) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            cells[i]->value = drawn[i];
            cells[i]->antithetic_value = i < m_nb_levels ? mirrored[i] : 0.0;
            cells[i]->adjoint = cells[i]->antithetic_adjoint = 0.0;
        }
    }
    Values forward(Tape& tape, bool antithetic) {
        variables.clear();
        std::ranges::fill(flows, 0.0);
        m_root->aeval(tape, SweepType::FORWARD, antithetic, grid, variables, flows, m_adjoints);
        return {flows.begin(), flows.end()};
    }
    void backward(Tape& tape, bool antithetic, Values const& weights) {
        std::ranges::copy(weights, m_adjoints.begin());
        m_root->aeval(tape, SweepType::BACKWARD, antithetic, grid, variables, flows, m_adjoints);
    }
    Values get_adjoints(bool antithetic) const {
        Values adjoints;
        for (auto* cell : cells) adjoints.push_back(cell->get_adjoint(antithetic));
        return adjoints;
    }

 private:
    void keep(Cell& cell) {
        if (cell.opened) cells.push_back(&cell);
    }

    std::shared_ptr<CashFlow> m_root;
    Toolbox::Array1D<double> m_adjoints;
    std::size_t m_nb_levels{0};
};

class AdjointCase : public ContractCase {
 protected:
    AdjointCase() { exchange_rate("USDEUR", "USD", "EUR"); }

    AdjointPath sides(std::shared_ptr<CashFlow> const& root) const {
        return AdjointPath(root, today, *eur);
    }

    static double dot(Values const& a, Values const& b) {
        double sum = 0.0;
        for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
        return sum;
    }

    /// The derivative of the weighted flows by each cell; NaN where the flows have a kink or a jump
    /// so near that differences of two steps disagree.
    static Values differences(AdjointPath& on, Values const& at, Values const& weights) {
        Values result;
        for (std::size_t i = 0; i < at.size(); ++i) {
            auto const along = [&](double moved) {
                Values point = at;
                point[i] = moved;
                return dot(on.eval_flows(point), weights);
            };
            double const wide = ximTest::derivative(along, at[i], 4e-4);
            double const near = ximTest::derivative(along, at[i], 1.5e-4);
            bool const is_smooth = std::abs(wide - near) < 1e-8 * std::abs(wide) + 1e-9;
            result.push_back(is_smooth ? wide : std::nan(""));
        }
        return result;
    }

    /// Both sides of one random path, interleaved as the simulation does: the forward sweeps pay
    /// what `eval` pays to the last bit and hand nothing on, the backward sweeps give the
    /// derivatives to eight digits, each on its side, and the tape ends empty. Returns the number
    /// of derivatives that could not be compared.
    static std::size_t expect_adjoints(AdjointPath& on, std::mt19937& random) {
        std::uniform_real_distribution<double> uniform(0.5, 2.0);
        Values const drawn = on.draw(random);
        Values const mirrored = on.draw(random, drawn);
        Values const flows = on.eval_flows(drawn);
        Values const mirrored_flows = on.eval_flows(mirrored);
        Values weights(flows.size());
        Values mirrored_weights(flows.size());
        std::ranges::generate(weights, [&] { return uniform(random); });
        std::ranges::generate(mirrored_weights, [&] { return uniform(random); });

        Tape tape;
        on.set_sides(drawn, mirrored);
        EXPECT_EQ(on.forward(tape, false), flows);
        EXPECT_EQ(on.forward(tape, true), mirrored_flows);
        EXPECT_EQ(on.get_adjoints(false), Values(drawn.size(), 0.0));
        EXPECT_EQ(on.get_adjoints(true), Values(drawn.size(), 0.0));
        on.backward(tape, true, mirrored_weights);
        EXPECT_EQ(on.get_adjoints(false), Values(drawn.size(), 0.0)) << "the other side";
        on.backward(tape, false, weights);
        EXPECT_TRUE(tape.c_is_empty());

        Values const adjoints = on.get_adjoints(false);
        Values const mirrored_adjoints = on.get_adjoints(true);
        return compare(adjoints, differences(on, drawn, weights)) +
               compare(mirrored_adjoints, differences(on, mirrored, mirrored_weights));
    }

    /// Over several random paths; at least nine derivatives in ten are compared.
    static void expect_adjoints(AdjointPath&& on, unsigned seed = 7, int nb_paths = 8) {
        std::mt19937 random(seed);
        std::size_t nb_left_out = 0;
        for (int i = 0; i < nb_paths; ++i) nb_left_out += expect_adjoints(on, random);
        EXPECT_LE(10 * nb_left_out, 2 * on.cells.size() * static_cast<std::size_t>(nb_paths));
    }
    void expect_adjoints(Encoder& encoder, int root) const {
        expect_adjoints(sides(encoder.read(root)));
    }

 private:
    static std::size_t compare(Values const& adjoints, Values const& expected) {
        std::size_t nb_left_out = 0;
        for (std::size_t i = 0; i < adjoints.size(); ++i) {
            if (std::isnan(expected[i]))
                ++nb_left_out;
            else
                EXPECT_NEAR(adjoints[i], expected[i], 1e-8 * std::abs(expected[i]) + 1e-9)
                    << "by cell " << i;
        }
        return nb_left_out;
    }
};

inline constexpr char const* c_fixing = "2023-07-02";
inline constexpr char const* c_payment = "2024-01-01";

/// Equal, infinities and NaN included.
inline bool is_same(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

/// The derivatives of one payment by Spot(A) and Spot(B), in this order.
class AdjointOf : public AdjointCase {
 protected:
    using Encode = std::function<int(Encoder&, int, int)>;

    AdjointPath amount_sides(Encode const& encode) const {
        Encoder encoder;
        int const a = encoder.spot("A", c_fixing);
        int const b = encoder.spot("B", c_fixing);
        return sides(encoder.read(encoder.pay(encode(encoder, a, b), c_payment)));
    }
    void expect_amount(Encode const& encode) const { expect_adjoints(amount_sides(encode)); }

    /// At one point, where differences may not exist; on both sides the same.
    static Values at(AdjointPath& on, double a, double b) {
        Tape tape;
        Values point{a, b};
        point.resize(on.cells.size());
        on.set_sides(point, point);
        on.forward(tape, false);
        on.forward(tape, true);
        Values const weights(on.flows.c_get_size(), 1.0);
        on.backward(tape, true, weights);
        on.backward(tape, false, weights);
        EXPECT_TRUE(tape.c_is_empty());
        Values const adjoints = on.get_adjoints(false);
        for (std::size_t i = 0; i < adjoints.size(); ++i)
            EXPECT_TRUE(is_same(adjoints[i], on.get_adjoints(true)[i])) << i;
        return {adjoints[0], adjoints[1]};
    }
    /// Of the payment of 1 * A + 0 * B + amount, so that both are read, less these two.
    Values at(Encode const& encode, double a, double b) const {
        auto on = amount_sides([&](Encoder& encoder, int left, int right) {
            int const nothing =
                encoder.add(encoder.a(24, payload(left, 0)), encoder.a(24, payload(right, 0)));
            return encoder.add(encode(encoder, left, right), nothing);
        });
        return at(on, a, b);
    }
};

/// Every smoothing type.
inline constexpr std::array c_smoothing_types{SmoothingType::NONE, SmoothingType::LOWER,
                                              SmoothingType::SYMETRIC, SmoothingType::UPPER};

}  // namespace ximCORE::Testing
