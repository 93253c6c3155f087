// Laws of the walk that takes notes, over random contracts: it pays what the plain walk pays, to
// the last bit, and what it notes is what stands in the grid.

#include "core/contract/details.hpp"

#include <array>
#include <cmath>
#include <random>

#include "contract_test_case.hpp"

namespace ximCORE::Testing {
namespace {

/// Random trees over A and B on two dates, with every code of amounts and events but one.
class RandomContract {
 public:
    explicit RandomContract(std::uint64_t seed) : m_generator(seed) {}

    std::shared_ptr<CashFlow> make(int depth) { return m_encoder.read(cashflow(depth)); }
    int pick(int size) { return static_cast<int>(m_generator() % static_cast<unsigned>(size)); }
    double level() { return 50.0 + 0.25 * pick(400); }

 private:
    int leaf() {
        switch (pick(4)) {
            case 0:
                return m_encoder.number(level());
            case 1:
                return m_encoder.ref("constant", level());
            case 2:
                return m_encoder.reference("name");
            default:
                return m_encoder.spot(pick(2) == 0 ? "A" : "B",
                                      pick(2) == 0 ? "2023-07-02" : "2024-01-01");
        }
    }
    /// Of one amount. Not the square root: it has no text, and conditions are sorted by theirs.
    int unary_code() {
        constexpr int square_root = 11;
        int const code = 6 + pick(7);
        return code < square_root ? code : code + 1;
    }
    int amount(int depth) {
        if (depth == 0) return leaf();
        switch (pick(7)) {
            case 0: {
                int const left = amount(depth - 1);
                return m_encoder.a(pick(6), payload(left, amount(depth - 1)));  // two amounts
            }
            case 1:
                return m_encoder.a(unary_code(), payload(amount(depth - 1)));
            case 2:
                return m_encoder.a(14 + pick(6), payload(level(), amount(depth - 1)));
            case 3: {
                int const child = amount(depth - 1);
                return m_encoder.a(20 + pick(7), payload(child, 0.01 * level()));
            }
            case 4: {
                int const condition = event(depth - 1);
                int const then = amount(depth - 1);
                return m_encoder.iff(condition, then, amount(depth - 1));
            }
            case 5: {
                int const first = amount(depth - 1);
                int const second = amount(depth - 1);
                return m_encoder.a(32, payload(pick(3), first, second, amount(depth - 1)));
            }
            default:
                return leaf();
        }
    }
    int event(int depth) {
        int const kind = depth == 0 ? 2 + pick(3) : pick(6);
        if (kind == 0) return m_encoder.e(0, payload(event(depth - 1)));
        if (kind == 1) {
            int const left = event(depth - 1);
            return m_encoder.e(7 + pick(2), payload(left, event(depth - 1)));
        }
        int const below = std::max(depth - 1, 0);
        if (kind == 2) {
            int const left = amount(below);
            return m_encoder.e(1 + pick(6), payload(left, amount(below)));
        }
        if (kind == 3) return m_encoder.e(9 + pick(6), payload(level(), amount(below)));
        int const child = amount(below);
        return m_encoder.e(15 + pick(6), payload(child, level()));
    }
    int cashflow(int depth) {
        static constexpr std::array<char const*, 3> dates{"2023-07-02", "2024-01-01", "2025-01-01"};
        int const kind = depth == 0 ? 3 + pick(2) : pick(6);
        if (kind == 0 || kind == 1) {
            int const condition = event(depth);
            int const then = cashflow(depth - 1);
            int const otherwise = cashflow(depth - 1);
            bool const has_spread = pick(2) == 0;
            return m_encoder.condition(condition, then, otherwise, has_spread ? 5.0 : 0.0,
                                       has_spread ? 10.0 : 0.0);
        }
        if (kind == 2) {
            int const left = cashflow(depth - 1);
            return m_encoder.both(left, cashflow(depth - 1));
        }
        if (kind == 3) return m_encoder.pay(amount(2), dates.at(static_cast<std::size_t>(pick(3))));
        if (kind == 4) return m_encoder.set("name", amount(2));
        return m_encoder.buy("2023-07-02", 2.0, cashflow(depth - 1), -1);
    }

    std::mt19937_64 m_generator;
    Encoder m_encoder;
};

class DetailLaws : public ContractCase, public ::testing::WithParamInterface<int> {};

bool is_same(double x, double y) {
    return x == y || (std::isnan(x) && std::isnan(y));
}

TEST_P(DetailLaws, NotesChangeNoFlowAndTellWhatStandsInTheGrid) {
    smooth(static_cast<Pricing::SmoothingType>(GetParam()));
    int noted = 0;
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        RandomContract random(seed);
        auto const root = random.make(4);
        Path walk = path(root);
        std::vector<Fixing const*> fixings;
        std::vector<Event*> events;
        root->scan_fixings(fixings, true);
        root->scan_barriers(events, true);
        FixingDetails fixing_details(fixings.size());
        EventDetails event_details(events.size());
        for (int trial = 0; trial < 5; ++trial) {
            for (char const* ticker : {"A", "B"})
                for (char const* date : {"2023-07-02", "2024-01-01"})
                    walk.set(ticker, date, random.level());
            auto const plain = walk.run().flows;
            for (auto& flow : walk.flows) flow = 0.0;
            walk.variables.clear();
            short kill_rank = 0;
            root->eval_details(walk.grid, walk.variables, fixing_details, event_details, walk.flows,
                               kill_rank);
            for (std::uint64_t k = 0; k < plain.c_get_size(); ++k)
                ASSERT_TRUE(is_same(plain.get(k), walk.flows.get(k))) << k;
            EXPECT_GE(kill_rank, 0);
            EXPECT_LT(kill_rank, std::max<std::uint64_t>(plain.c_get_size(), 1));
            for (std::size_t i = 0; i < fixings.size(); ++i) {
                auto& [value, set] = fixing_details.unsafe_get(i);
                if (!set) continue;
                set = false;
                ++noted;
                auto fixing = *fixings[i];
                EXPECT_EQ(value, fixing.eval(walk.grid, walk.variables));
            }
            for (auto& [value, set] : event_details) {
                EXPECT_LE(value, 1);
                set = false;
            }
        }
    }
    EXPECT_GT(noted, 500);
}

INSTANTIATE_TEST_SUITE_P(AllSmoothings, DetailLaws, ::testing::Range(0, 4));

}  // namespace
}  // namespace ximCORE::Testing
