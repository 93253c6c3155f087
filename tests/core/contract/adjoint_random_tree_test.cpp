// The adjoint form of random trees.

#include "core/contract/adjoint_test_case.hpp"

namespace ximCORE::Testing {
namespace {

class RandomTree {
 public:
    explicit RandomTree(unsigned seed) : m_random(seed) {}

    std::shared_ptr<CashFlow> grow() { return m_encoder.read(with_names(cashflow(4))); }

 private:
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_random); }
    double number() { return std::uniform_real_distribution<double>(0.5, 1.5)(m_random); }
    double width() { return std::uniform_real_distribution<double>(0.1, 0.8)(m_random); }
    std::string date() {
        return std::vector<std::string>{c_fixing, c_payment,
                                        "2025-01-01"}[static_cast<std::size_t>(pick(3))];
    }
    std::string name() { return pick(2) == 0 ? "x" : "y"; }

    int leaf() {
        switch (pick(6)) {
            case 0:
                return m_encoder.number(number());
            case 1:
                return m_encoder.ref("level", number());
            case 2:
                return m_encoder.reference(name());
            case 3:
                return m_encoder.spot("U", date(), "EUR");
            case 4:
                return m_encoder.spot("B", date());
            default:
                return m_encoder.spot("A", date());
        }
    }
    /// Above 0.5, where every operator is smooth and finite.
    int positive(int depth) {
        return m_encoder.a(20, payload(m_encoder.a(6, payload(amount(depth))), 0.5));
    }
    /// In [-1, 1].
    int bounded(int depth) { return m_encoder.a(pick(2) == 0 ? 7 : 10, payload(amount(depth))); }
    int amount(int depth) {
        if (depth == 0) return leaf();
        --depth;
        switch (pick(14)) {
            case 0:
                return m_encoder.add(amount(depth), amount(depth));
            case 1:
                return m_encoder.a(1, payload(amount(depth), positive(depth)));
            case 2:
                return m_encoder.a(2 + pick(2), payload(amount(depth), amount(depth)));
            case 3:
                return m_encoder.mul(bounded(depth), amount(depth));
            case 4:
                return m_encoder.a(5, payload(amount(depth), amount(depth)));
            case 5:
                return m_encoder.a(8, payload(bounded(depth)));
            case 6:
                return m_encoder.a(pick(2) == 0 ? 9 : 11, payload(positive(depth)));
            case 7:
                return m_encoder.a(13, payload(m_encoder.a(24, payload(bounded(depth), 0.5))));
            case 8:
                return m_encoder.a(12, payload(amount(depth)));
            case 9:
                return m_encoder.a(15, payload(number(), positive(depth)));
            case 10:
                return m_encoder.a(25, payload(m_encoder.a(8, payload(bounded(depth))), number()));
            case 11:
                return m_encoder.iff(event(depth), amount(depth), amount(depth));
            case 12:
                return m_encoder.a(32,
                                   payload(pick(3), amount(depth), amount(depth), amount(depth)));
            default:
                return m_encoder.a(16 + pick(2), payload(number(), amount(depth)));
        }
    }
    int event(int depth) {
        if (depth > 0 && pick(2) == 0) {
            --depth;
            if (pick(3) == 0) return m_encoder.e(0, payload(event(depth)));
            return m_encoder.e(7 + pick(2), payload(event(depth), event(depth)));
        }
        switch (pick(8)) {
            case 0:
                return m_encoder.truth(pick(2) == 0);
            case 1:
            case 2:
            case 3:
                return m_encoder.e(1 + pick(6), payload(amount(1), amount(1)));
            case 4:
            case 5:
                return m_encoder.e(9 + pick(6), payload(number(), amount(1)));
            default:
                return m_encoder.e(15 + pick(6), payload(amount(1), number()));
        }
    }
    int cashflow(int depth) {
        if (depth == 0) {
            if (pick(8) == 0) return m_encoder.nothing();
            return m_encoder.pay(amount(3), date(), pick(3) == 0 ? "USD" : "EUR",
                                 pick(4) == 0 ? -1 : 1);
        }
        --depth;
        switch (pick(8)) {
            case 0:
                return m_encoder.buy(c_fixing, number(), cashflow(depth), pick(2) == 0 ? 1 : -1);
            case 1:
                return m_encoder.set(name(), m_encoder.number(number()));
            case 2:
                return m_encoder.c(2, payload(1, c_fixing, cashflow(depth), cashflow(depth)));
            case 3:
            case 4:
                return m_encoder.both(cashflow(depth), cashflow(depth));
            case 5:
                return m_encoder.condition(event(2), cashflow(depth), cashflow(depth));
            default:
                return m_encoder.condition(event(2), cashflow(depth), cashflow(depth), width(),
                                           width());
        }
    }
    /// Names are set to numbers alone: nothing is handed on through them.
    int with_names(int root) {
        int const payment = m_encoder.pay(m_encoder.spot("A", c_fixing), c_payment);
        return m_encoder.both(m_encoder.set("x", m_encoder.number(number())),
                              m_encoder.both(root, payment));
    }

    std::mt19937 m_random;
    Encoder m_encoder;
};

TEST_F(AdjointOf, RandomTreesHandOnTheirDerivatives) {
    std::size_t nb_compared = 0;
    std::size_t nb_left_out = 0;
    for (unsigned seed = 1; seed <= 400; ++seed) {
        SCOPED_TRACE(seed);
        smooth(c_smoothing_types[seed % c_smoothing_types.size()]);
        auto root = RandomTree(seed).grow();
        root->scale();
        auto on = sides(root);
        std::mt19937 random(seed);
        nb_left_out += expect_adjoints(on, random);
        nb_compared += 2 * on.cells.size();
    }
    EXPECT_GT(nb_compared, 2000U);
    EXPECT_LT(20 * nb_left_out, nb_compared) << "at most one in twenty lies at a kink";
}

}  // namespace
}  // namespace ximCORE::Testing
