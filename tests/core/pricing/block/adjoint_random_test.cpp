// The adjoint simulation in blocks of paths against the one path by path, on drawn contracts.

#include <random>

#include "core/pricing/block/adjoint_engine_case.hpp"

namespace ximCORE::Pricing {
namespace {

using Toolbox::Date;

/// Contracts on three shares whose nodes are drawn.
class RandomContract {
 public:
    using Text = std::string;
    RandomContract(std::uint64_t seed, std::vector<Text> names, std::vector<double> spots,
                   std::vector<Date> dates)
        : m_generator(seed),
          m_names(std::move(names)),
          m_spots(std::move(spots)),
          m_dates(std::move(dates)) {}

    int flow(TreeBuilder& tree, int depth) {
        if (depth == 0) return payment(tree);
        switch (draw(5)) {
            case 0:
            case 1:
                return tree.both(flow(tree, depth - 1), flow(tree, depth - 1));
            case 2: {
                int const value = amount(tree, 2);
                return tree.both(tree.set(name(), value), flow(tree, depth - 1));
            }
            default: {
                double const spread = draw(3) == 0 ? 0.0 : 0.05 * (1 + draw(6));
                double const other = draw(3) == 0 ? 0.0 : 0.05 * (1 + draw(6));
                int const condition = event(tree, 2);
                int const then = draw(5) == 0 ? tree.nothing() : flow(tree, depth - 1);
                int const otherwise = draw(5) == 0 ? tree.nothing() : flow(tree, depth - 1);
                return tree.condition(condition, then, otherwise, spread, other);
            }
        }
    }

 private:
    int draw(int size) { return static_cast<int>(m_generator() % static_cast<unsigned>(size)); }
    Text name() { return draw(2) == 0 ? "x" : "y"; }
    Date date() { return m_dates[static_cast<std::size_t>(draw(3))]; }
    static Text text(auto const&... fields) {
        std::ostringstream stream;
        char const* separator = "";
        ((stream << separator << fields, separator = ","), ...);
        return stream.str();
    }
    int payment(TreeBuilder& tree) {
        int const paid = amount(tree, 3);
        return tree.pay(paid, date(), "EUR", draw(3) == 0 ? -1 : 1);
    }
    int leaf(TreeBuilder& tree) {
        int const which = draw(8);
        if (which == 0) return tree.reference(name());
        if (which == 1) return tree.number(0.25 * (1 + draw(8)));
        auto const share = static_cast<std::size_t>(draw(3));
        return tree.right(TreeBuilder::div_number, tree.fixing(m_names[share], date()),
                          m_spots[share]);
    }
    int amount(TreeBuilder& tree, int depth) {
        if (depth == 0) return leaf(tree);
        auto const below = [&] { return amount(tree, depth - 1); };
        int const which = draw(20);
        int const x = below();
        switch (which) {
            case 0:
            case 1:
            case 2:
            case 3:
                return tree.binary(draw(2) == 0 ? TreeBuilder::max : TreeBuilder::min, x, below());
            case 4:
            case 5:
                return tree.binary(TreeBuilder::add, x, below());
            case 6:
                return tree.binary(TreeBuilder::sub, x, below());
            case 7:
            case 8:
                return tree.binary(TreeBuilder::mul, x, below());
            case 9:  // by at least a half
                return tree.binary(TreeBuilder::div, x,
                                   tree.right(TreeBuilder::max_number, below(), 0.5));
            case 10:
                return tree.amount_of(6 + draw(2), text(x));  // abs, cos
            case 11:
                return tree.amount_of(8, text(tree.right(TreeBuilder::min_number, x, 2.0)));  // exp
            case 12:
            case 13: {  // log, root
                int const positive = tree.right(TreeBuilder::max_number, x, 0.25);
                return tree.amount_of(which == 12 ? 9 : 11, text(positive));
            }
            case 14:
                return tree.amount_of(c_sorted, text(draw(3), x, below(), leaf(tree)));
            case 15: {
                int const y = below();
                int const condition = event(tree, 1);
                return tree.amount_of(c_chosen, text(condition, x, y));
            }
            case 16:
                return tree.right(TreeBuilder::pow_number,
                                  tree.right(TreeBuilder::max_number, x, 0.5), 1.5);
            case 17:
                return tree.right(TreeBuilder::sub_number, x, 0.75);
            case 18:
                return tree.right(TreeBuilder::max_number, x, 0.875);
            default:
                return tree.right(TreeBuilder::mul_number, x, 0.5);
        }
    }
    int event(TreeBuilder& tree, int depth) {
        int const which = depth == 0 ? 3 : draw(6);
        if (which == 0) {
            int const inner = event(tree, depth - 1);
            return tree.event_of(c_not, text(inner));
        }
        if (which < 3) {
            int const left = event(tree, depth - 1);
            int const right = event(tree, depth - 1);
            return tree.event_of(which == 1 ? c_and : c_or, text(left, right));
        }
        int const left = amount(tree, 1);
        if (which == 3) return tree.compare(comparison(), left, 0.75 + 0.125 * draw(5));
        return tree.event_of(draw(2) == 0 ? 2 : 4, text(left, amount(tree, 1)));
    }
    TreeBuilder::Comparison comparison() {
        return static_cast<TreeBuilder::Comparison>(TreeBuilder::greater + draw(4));
    }

    static constexpr int c_and = 7;
    static constexpr int c_or = 8;
    static constexpr int c_not = 0;

    std::mt19937_64 m_generator;
    std::vector<Text> m_names;
    std::vector<double> m_spots;
    std::vector<Date> m_dates;
};

TEST_F(BlockAdjointTest, RandomContractsHaveTheSameDerivatives) {
    add_shares(3);
    constexpr double antithetics[] = {0.0, 0.3, 0.5};
    for (std::uint64_t seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE(seed);
        TreeBuilder tree;
        RandomContract random(seed, names, spots, {half_year, one_year, two_years});
        auto const priced = contract(tree, random.flow(tree, 4));
        PricerOptions::s_options.smoothing = static_cast<SmoothingType>(seed % 4);
        MCPricerOptions::s_options = {.trials = 100 + seed % 7,
                                      .nb_threads = static_cast<std::uint8_t>(1 + seed % 3),
                                      .antithetic_factor = antithetics[seed % 3]};
        expect_same(
            *priced,
            seed % 5 == 0 ? ModelName::black_scholes_term_structure : ModelName::black_scholes,
            1e-11);
        if (HasFailure()) return;
    }
}

}  // namespace
}  // namespace ximCORE::Pricing
