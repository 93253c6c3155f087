// The loops of the way back, of each kind of processor that this one can run, against the operators
// of the tree and plain loops over numbers.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "core/pricing/block/kernels.hpp"
#include "core/pricing/block/program.hpp"

namespace ximCORE::Pricing::Block {
namespace {

namespace op = Contract::op;

constexpr double c_nan = std::numeric_limits<double>::quiet_NaN();
constexpr double c_infinite = std::numeric_limits<double>::infinity();
constexpr std::array c_special{0.0, -0.0,   1.0,        -1.0,        0.5,   -2.5, 3.0,
                               2.0, 1e-300, c_infinite, -c_infinite, c_nan, 7.25, -0.125};

class AdjointKernelsTest : public testing::TestWithParam<Kernels const*> {
 protected:
    Kernels const& kernels = *GetParam();
    std::mt19937_64 random{11};

    double uniform(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    }
    double any() {
        return random() % 2 == 0 ? c_special[random() % c_special.size()] : uniform(-4.0, 4.0);
    }
    Buffer columns(std::size_t size, auto&& number) {
        Buffer made(size * lanes);
        for (std::size_t i = 0; i < made.c_get_size(); ++i) made.get()[i] = number();
        return made;
    }
    /// Runs one instruction over the columns of a buffer.
    void run(Instruction const& instruction, Buffer& buffer,
             std::vector<std::uint32_t> const& operands = {}) {
        std::vector<double*> places;
        for (std::size_t i = 0; i < buffer.c_get_size() / lanes; ++i)
            places.push_back(buffer.column(i));
        std::array const instructions{instruction, Instruction{}};
        kernels.run({instructions.data(), operands.data(), places.data()});
    }
    /// To the last places of exponential and logarithm.
    static void expect_near(double actual, double expected) {
        if (std::isnan(expected))
            EXPECT_TRUE(std::isnan(actual));
        else if (std::isinf(expected) || std::isinf(actual))
            EXPECT_EQ(actual, expected);
        else
            EXPECT_NEAR(actual, expected, 4e-15 * std::abs(expected));
    }
};

std::vector<Kernels const*> tables() {
    std::vector<Kernels const*> found;
    for (auto const* table : {portable_kernels(), avx2_kernels(), avx512_kernels()})
        if (table != nullptr) found.push_back(table);
    return found;
}

INSTANTIATE_TEST_SUITE_P(Processors, AdjointKernelsTest, testing::ValuesIn(tables()),
                         [](auto const& parameter) {
                             std::string name(parameter.param->name);
                             std::erase(name, '-');
                             return name;
                         });

template <class... Ops>
void for_each_operator(op::List<Ops...>, auto&& visit) {
    (visit.template operator()<Ops>(), ...);
}

TEST_P(AdjointKernelsTest, EveryOperandGetsItsAdjointAsInTheTree) {
    for (int round = 0; round < 20; ++round) {
        Buffer buffer = columns(4, [&] { return any(); });
        auto const at = [&](std::size_t column, std::size_t lane) {
            return buffer.c_column(column)[lane];
        };
        for_each_operator(op::AmountUnaries{}, [&]<class Op>() {
            run({back_code_of<Op>(), 3, 0, 1}, buffer);
            for (std::size_t lane = 0; lane < lanes; ++lane)
                expect_near(at(3, lane), op::back<Op>(at(0, lane), at(1, lane)));
        });
        for_each_operator(op::AmountBinaries{}, [&]<class Op>() {
            auto const expected = [&](std::size_t lane) {
                return op::back<Op>(at(0, lane), at(1, lane), at(2, lane));
            };
            run({back_code_of<Op, true>(), 3, 0, 1, 2}, buffer);
            for (std::size_t lane = 0; lane < lanes; ++lane)
                expect_near(at(3, lane), expected(lane).left);
            run({back_code_of<Op, false>(), 3, 0, 1, 2}, buffer);
            for (std::size_t lane = 0; lane < lanes; ++lane)
                expect_near(at(3, lane), expected(lane).right);
        });
    }
}

TEST_P(AdjointKernelsTest, OfEqualOperandsOfASortTheFirstTakesTheAdjoint) {
    for (std::uint32_t const size : {1U, 2U, 5U, 64U}) {
        // operands, the result, its adjoint, the answer; few different values, so that many tie
        Buffer buffer = columns(size + 3, [&] { return c_special[random() % 12]; });
        for (std::size_t lane = 0; lane < lanes; ++lane)
            buffer.column(size)[lane] = buffer.column(random() % size)[lane];
        std::vector<std::uint32_t> operands{77};
        for (std::uint32_t k = 0; k < size + 2; ++k) operands.push_back(k);
        std::array<bool, lanes> is_taken{};
        for (std::uint32_t place = 0; place < size; ++place) {
            run({Code::sort_back, size + 2, 1, size, place}, buffer, operands);
            for (std::size_t lane = 0; lane < lanes; ++lane) {
                double const x = buffer.c_column(place)[lane];
                double const chosen = buffer.c_column(size)[lane];
                bool const is_chosen = x == chosen || (std::isnan(x) && std::isnan(chosen));
                bool const is_first = is_chosen && !is_taken[lane];
                is_taken[lane] = is_taken[lane] || is_chosen;
                expect_near(buffer.c_column(size + 2)[lane],
                            is_first ? buffer.c_column(size + 1)[lane] : 0.0);
            }
        }
    }
}

TEST_P(AdjointKernelsTest, TheWayBackAlongAPathIsThatOfAPlainLoop) {
    for (int round = 0; round < 40; ++round) {
        std::size_t const steps = 1 + random() % 9;
        std::size_t const factors = 1 + random() % 5;
        std::size_t const loadings = 1 + random() % factors;
        double const sign = round % 2 == 0 ? 1.0 : -1.0;
        Buffer const normals = columns(steps * factors, [&] { return uniform(-4.0, 4.0); });
        Buffer const adjoints = columns(steps, [&] { return uniform(-1.0, 1.0); });
        Buffer const levels = columns(steps, [&] { return uniform(50.0, 150.0); });
        std::vector<double const*> adjoint(steps, nullptr);
        std::vector<double const*> level(steps, nullptr);
        for (std::size_t k = 0; k < steps; ++k)
            if (random() % 3 != 0) {
                adjoint[k] = adjoints.c_column(k);
                level[k] = levels.c_column(k);
            }
        std::size_t const width = 1 + loadings;
        std::vector<double> expected(steps * width, 0.0);
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            double b = 0.0;
            for (std::size_t k = steps; k-- > 0;) {
                double const p = adjoint[k] == nullptr ? 0.0 : adjoint[k][lane] * level[k][lane];
                b += p;
                expected[k * width] += p;
                for (std::size_t j = 0; j < loadings; ++j)
                    expected[k * width + 1 + j] +=
                        sign * b * normals.c_column(k * factors + j)[lane];
            }
        }
        Buffer sums((expected.size() * sum_width + lanes - 1) / lanes * lanes);
        std::fill_n(sums.get(), sums.c_get_size(), 1.0);  // what was there is added to
        kernels.descend(
            {normals.c_get(), factors, loadings, sign, adjoint.data(), level.data(), steps},
            sums.get());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            double sum = -static_cast<double>(sum_width);
            for (std::size_t j = 0; j < sum_width; ++j) sum += sums.c_get()[i * sum_width + j];
            EXPECT_NEAR(sum, expected[i], 1e-9) << i;
        }
    }
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
