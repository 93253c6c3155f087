// The loops of each kind of processor that this one can run, against plain loops over numbers.

#include "core/pricing/block/kernels.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <span>
#include <vector>

#include "core/pricing/block/normals.hpp"
#include "core/pricing/block/program.hpp"

namespace ximCORE::Pricing::Block {
namespace {

namespace op = Contract::op;

constexpr double c_infinite = std::numeric_limits<double>::infinity();
constexpr double c_nan = std::numeric_limits<double>::quiet_NaN();
constexpr double c_least = std::numeric_limits<double>::denorm_min();
constexpr double c_least_normal = std::numeric_limits<double>::min();
constexpr double c_largest = std::numeric_limits<double>::max();

/// Values around which operators change their ways.
constexpr std::array c_special{0.0,         -0.0,  1.0,    -1.0,   0.5,     -2.5,
                               3.0,         1e300, -1e300, 1e-300, c_least, c_infinite,
                               -c_infinite, c_nan, 100.25, -0.125};

std::vector<Kernels const*> tables() {
    std::vector<Kernels const*> found;
    for (auto const* table : {portable_kernels(), avx2_kernels(), avx512_kernels()})
        if (table != nullptr) found.push_back(table);
    return found;
}

std::string name_of(testing::TestParamInfo<Kernels const*> const& parameter) {
    std::string name(parameter.param->name);
    std::erase(name, '-');
    return name;
}

std::uint64_t bits_of(double x) {
    return std::bit_cast<std::uint64_t>(x);
}

/// The same number to the last bit; one NaN is like another.
bool is_same(double x, double y) {
    return bits_of(x) == bits_of(y) || (std::isnan(x) && std::isnan(y));
}

/// |y - exact| in units of the last place of a double as large as `exact`.
double error_in_last_places(double y, long double exact) {
    int exponent = 0;
    std::ignore = std::frexp(exact, &exponent);
    long double const unit = std::ldexp(1.0L, std::max(exponent - 53, -1074));
    return static_cast<double>(std::abs(static_cast<long double>(y) - exact) / unit);
}

class KernelsTest : public testing::TestWithParam<Kernels const*> {
 protected:
    Kernels const& kernels = *GetParam();

    /// Of exponential and logarithm, in units of the last place.
    double allowed_error() const { return kernels.name == "portable" ? 2.0 : 1.1; }

    using Function = void (*Kernels::*)(double const*, std::size_t, double*);

    std::vector<double> apply(Function function, std::span<double const> x) const {
        std::size_t const size = (x.size() + lanes - 1) / lanes * lanes;
        Buffer in(size);
        Buffer out(size);
        std::fill_n(in.get(), size, 1.0);
        std::ranges::copy(x, in.get());
        (kernels.*function)(in.c_get(), size, out.get());
        return {out.c_get(), out.c_get() + x.size()};
    }

    void expect_exact(Function function, std::vector<double> const& x, auto&& exact) const {
        auto const y = apply(function, x);
        for (std::size_t i = 0; i < x.size(); ++i) {
            double const error = error_in_last_places(y[i], exact(static_cast<long double>(x[i])));
            EXPECT_LT(error, allowed_error()) << x[i] << " gives " << y[i];
        }
    }

    std::mt19937_64 random{7};
    double uniform(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    }
};

INSTANTIATE_TEST_SUITE_P(Processors, KernelsTest, testing::ValuesIn(tables()), name_of);

// Exponential and logarithm

TEST_P(KernelsTest, TheExponentialIsExactToItsLastPlacesFromSubnormalsToTheLargestNumber) {
    std::vector<double> x;
    for (int i = 0; i <= 200'000; ++i) x.push_back(-745.13 + i * (745.13 + 709.78) / 200'000);
    for (int i = 0; i < 100'000; ++i) x.push_back(uniform(-2.0, 2.0));
    for (int i = 0; i < 20'000; ++i) x.push_back(uniform(-745.13, -708.0));
    for (int i = 0; i < 20'000; ++i) x.push_back(std::ldexp(uniform(-1.0, 1.0), -i % 1070));
    // where the nearest whole number of ln 2 changes
    for (int n = -1070; n < 1020; ++n) {
        double const edge = (n + 0.5) * std::log(2.0);
        for (double const y : {edge, std::nextafter(edge, 1e9), std::nextafter(edge, -1e9)})
            x.push_back(y);
    }
    expect_exact(&Kernels::exponential, x, [](long double v) { return std::exp(v); });
}

TEST_P(KernelsTest, TheExponentialOfSpecialValues) {
    std::vector<double> const x{0.0,         -0.0,   c_least, -c_least,  c_infinite,
                                -c_infinite, c_nan,  709.79,  1e300,     -745.14,
                                -1e300,      -800.0, 800.0,   c_largest, -c_largest};
    std::vector<double> const y{1.0, 1.0,   1.0,        1.0,        c_infinite,
                                0.0, c_nan, c_infinite, c_infinite, 0.0,
                                0.0, 0.0,   c_infinite, c_infinite, 0.0};
    auto const actual = apply(&Kernels::exponential, x);
    for (std::size_t i = 0; i < x.size(); ++i)
        EXPECT_TRUE(is_same(actual[i], y[i])) << x[i] << ": " << actual[i];
    std::vector<double> const edges{709.782712893384, -745.1332191019411};
    auto const at_edges = apply(&Kernels::exponential, edges);
    EXPECT_LT(at_edges[0], c_infinite);
    EXPECT_GT(at_edges[0], 1.79e308);
    EXPECT_EQ(at_edges[1], c_least);
}

TEST_P(KernelsTest, TheLogarithmIsExactToItsLastPlacesForEverySizeOfNumber) {
    std::vector<double> x;
    for (int i = 0; i < 200'000; ++i) x.push_back(std::ldexp(uniform(1.0, 2.0), i % 2046 - 1022));
    for (int i = 0; i < 100'000; ++i) x.push_back(uniform(0.5, 2.0));
    for (int i = 0; i < 50'000; ++i)  // near 1, where the result is small
        x.push_back(1.0 + std::ldexp(uniform(-1.0, 1.0), -i % 53));
    for (int i = 0; i < 20'000; ++i) x.push_back(std::ldexp(uniform(1.0, 2.0), -1023 - i % 52));
    for (double const edge : {std::sqrt(0.5), std::sqrt(2.0), 1.0, 2.0, c_least_normal})
        for (double const y : {edge, std::nextafter(edge, 9.0), std::nextafter(edge, 0.0)})
            x.push_back(y);
    for (double const edge : {c_least, c_largest}) x.push_back(edge);
    expect_exact(&Kernels::logarithm, x, [](long double v) { return std::log(v); });
}

TEST_P(KernelsTest, TheLogarithmOfSpecialValues) {
    std::vector<double> const x{0.0, -0.0, -1.0, -c_least, -c_infinite, c_infinite, c_nan, 1.0};
    std::vector<double> const y{-c_infinite, -c_infinite, c_nan, c_nan,
                                c_nan,       c_infinite,  c_nan, 0.0};
    auto const actual = apply(&Kernels::logarithm, x);
    for (std::size_t i = 0; i < x.size(); ++i)
        EXPECT_TRUE(is_same(actual[i], y[i])) << x[i] << ": " << actual[i];
}

// Normals

/// `nb_points` points of the polar method by the standard generator.
std::vector<std::array<double, 2>> plain_points(std::uint64_t seed, std::size_t nb_points) {
    std::mt19937_64 generator(seed);
    auto const coordinate = [&] {
        return 2.0 * std::generate_canonical<double, 53>(generator) - 1.0;
    };
    std::vector<std::array<double, 2>> points;
    while (points.size() < nb_points) {
        double const x = coordinate();
        double const y = coordinate();
        double const r2 = x * x + y * y;
        if (r2 <= 1.0 && r2 != 0.0) points.push_back({x, y});
    }
    return points;
}

TEST_P(KernelsTest, PointsAreThoseOfTheStandardGeneratorHoweverManyAreDrawnAtATime) {
    constexpr std::size_t count = 60'000;
    constexpr std::array<std::size_t, 12> sizes{1, 2, 0, 3, 7, 64, 155, 156, 157, 311, 312, 1999};
    for (std::uint64_t const seed : {23051994U, 0U, 1U, 5489U, 4294967295U}) {
        auto const expected = plain_points(seed, count);
        PointSequence sequence(kernels, seed);
        std::vector<double> x(2000 + PointSequence::s_slack);
        std::vector<double> y(x.size());
        std::size_t drawn = 0;
        for (std::size_t k = 0; drawn + 2000 < count; ++k) {
            std::size_t const size = sizes[k % sizes.size()];
            sequence.draw(size, x.data(), y.data());
            for (std::size_t i = 0; i < size; ++i, ++drawn) {
                ASSERT_EQ(x[i], expected[drawn][0]) << seed << ' ' << drawn;
                ASSERT_EQ(y[i], expected[drawn][1]) << seed << ' ' << drawn;
            }
        }
    }
}

TEST_P(KernelsTest, NormalsAreThoseOfTheStandardDistribution) {
    constexpr std::size_t nb_points = 100'001;
    for (std::uint64_t const seed :
         {std::uint64_t{23051994}, std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max()}) {
        PointSequence sequence(kernels, seed);
        std::vector<double> x(nb_points + PointSequence::s_slack, 0.5);
        std::vector<double> y(x.size(), 0.5);
        std::vector<double> normals(2 * x.size() + 16);
        sequence.draw(nb_points, x.data(), y.data());
        kernels.make_normals(x.data(), y.data(), nb_points, normals.data());
        std::mt19937_64 generator(seed);
        std::normal_distribution<double> distribution;
        for (std::size_t i = 0; i < 2 * nb_points; ++i) {
            double const expected = distribution(generator);
            ASSERT_LE(std::abs(normals[i] - expected), 1e-15 * std::abs(expected))
                << seed << ' ' << i;
        }
    }
}

TEST_P(KernelsTest, NormalsOfPointsAtTheEdgesOfTheDisc) {
    Buffer x(lanes);
    Buffer y(lanes);
    Buffer normals(2 * lanes + 64);
    std::fill_n(x.get(), lanes, 0.5);
    std::fill_n(y.get(), lanes, 0.5);
    double const least = 0x1p-53;
    std::array<std::array<double, 2>, 5> const points{
        {{1.0, 0.0}, {0.0, -1.0}, {least, 0.0}, {0.0, -least}, {-0x1.fffffffffffffp-1, 0x1p-52}}};
    for (std::size_t i = 0; i < points.size(); ++i) {
        x.get()[i] = points[i][0];
        y.get()[i] = points[i][1];
    }
    kernels.make_normals(x.c_get(), y.c_get(), points.size(), normals.get());
    for (std::size_t i = 0; i < points.size(); ++i) {
        auto const [px, py] = points[i];
        double const r2 = px * px + py * py;
        double const m = std::sqrt(-2.0 * std::log(r2) / r2);
        EXPECT_NEAR(normals.get()[2 * i], py * m, 1e-15 * std::abs(py * m)) << i;
        EXPECT_NEAR(normals.get()[2 * i + 1], px * m, 1e-15 * std::abs(px * m)) << i;
    }
}

// Paths

TEST_P(KernelsTest, TransposeTurnsPathsIntoColumns) {
    for (std::size_t stride = 1; stride < 22; ++stride)
        for (std::size_t nb_columns = 0; nb_columns <= stride; ++nb_columns) {
            std::vector<double> paths(lanes * stride + 16);
            for (auto& value : paths) value = uniform(-1.0, 1.0);
            Buffer columns((nb_columns + 1) * lanes);
            std::fill_n(columns.get(), columns.c_get_size(), 77.0);
            kernels.transpose(paths.data(), stride, nb_columns, columns.get());
            for (std::size_t lane = 0; lane < lanes; ++lane) {
                for (std::size_t c = 0; c < nb_columns; ++c)
                    ASSERT_EQ(columns.c_column(c)[lane], paths[lane * stride + c]);
                ASSERT_EQ(columns.c_column(nb_columns)[lane], 77.0);
            }
        }
}

TEST_P(KernelsTest, EvolveIsThePathOfAPlainLoop) {
    for (int round = 0; round < 40; ++round) {
        auto const pick = [&](std::size_t most) { return 1 + random() % most; };
        std::size_t const nb_steps = pick(9);
        std::size_t const nb_factors = pick(5);
        std::size_t const nb_loadings = 1 + random() % nb_factors;
        Buffer normals(nb_steps * nb_factors * lanes);
        for (std::size_t i = 0; i < normals.c_get_size(); ++i) normals.get()[i] = uniform(-4, 4);
        auto const numbers = [&](std::size_t size, double low, double high) {
            std::vector<double> made(size);
            for (auto& value : made) value = uniform(low, high);
            return made;
        };
        auto const loadings = numbers(nb_loadings, -1.0, 1.0);
        auto const diffusions = numbers(nb_steps, 0.0, 0.3);
        auto const drifts = numbers(nb_steps, -0.1, 0.1);
        std::vector<unsigned char> is_read(nb_steps);
        for (auto& flag : is_read) flag = random() % 2;
        Buffer growth(nb_steps * lanes);
        std::fill_n(growth.get(), growth.c_get_size(), 77.0);
        kernels.evolve({normals.c_get(), nb_factors, loadings.data(), nb_loadings,
                        diffusions.data(), drifts.data(), is_read.data(), nb_steps},
                       growth.get());
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            double x = 0.0;
            for (std::size_t step = 0; step < nb_steps; ++step) {
                double w = 0.0;
                for (std::size_t j = 0; j < nb_loadings; ++j)
                    w += loadings[j] * normals.c_column(step * nb_factors + j)[lane];
                x += diffusions[step] * w + drifts[step];
                double const expected = is_read[step] == 0 ? 77.0 : std::exp(x);
                ASSERT_NEAR(growth.c_column(step)[lane], expected, 1e-14 * expected);
            }
        }
    }
}

TEST_P(KernelsTest, APathWithoutVolatilityStandsExactlyAtOne) {
    Buffer normals(lanes);
    for (std::size_t i = 0; i < lanes; ++i) normals.get()[i] = uniform(-4.0, 4.0);
    double const loading = 1.0;
    double const none = 0.0;
    unsigned char const is_read = 1;
    Buffer growth(lanes);
    kernels.evolve({normals.c_get(), 1, &loading, 1, &none, &none, &is_read, 1}, growth.get());
    for (std::size_t lane = 0; lane < lanes; ++lane) EXPECT_EQ(growth.c_get()[lane], 1.0);
}

TEST_P(KernelsTest, MultiplyScalesAColumn) {
    Buffer values(lanes);
    Buffer products(lanes);
    for (std::size_t i = 0; i < lanes; ++i) values.get()[i] = c_special[i % c_special.size()];
    kernels.multiply(values.c_get(), -1.75, products.get());
    for (std::size_t i = 0; i < lanes; ++i)
        EXPECT_TRUE(is_same(products.c_get()[i], values.c_get()[i] * -1.75));
}

// Observations

TEST_P(KernelsTest, ObserveAddsAsManyValuesAsAskedFor) {
    for (std::size_t count = 0; count <= lanes; ++count) {
        Buffer values(lanes);
        for (std::size_t i = 0; i < lanes; ++i) values.get()[i] = uniform(-100.0, 100.0);
        Observations actual{1.0, 2.0, 3, -40.0, 40.0};
        Observations expected = actual;
        kernels.observe(values.c_get(), count, actual);
        for (std::size_t i = 0; i < count; ++i) {
            double const x = values.c_get()[i];
            expected.sum += x;
            expected.sum_of_squares += x * x;
            expected.min = std::min(expected.min, x);
            expected.max = std::max(expected.max, x);
        }
        EXPECT_EQ(actual.count, 3 + count);
        EXPECT_NEAR(actual.sum, expected.sum, 1e-11);
        EXPECT_NEAR(actual.sum_of_squares, expected.sum_of_squares, 1e-9);
        EXPECT_EQ(actual.min, expected.min);
        EXPECT_EQ(actual.max, expected.max);
    }
}

TEST_P(KernelsTest, ObserveKeepsTheExtremesOfNumbersBesideNaN) {
    for (std::size_t const count : {lanes, lanes - 1}) {
        Buffer values(lanes);
        for (std::size_t i = 0; i < lanes; ++i)
            values.get()[i] = i % 3 == 0 ? c_nan : static_cast<double>(i);
        Observations observations;
        kernels.observe(values.c_get(), count, observations);
        EXPECT_TRUE(std::isnan(observations.sum));
        EXPECT_TRUE(std::isnan(observations.sum_of_squares));
        EXPECT_EQ(observations.count, count);
        EXPECT_EQ(observations.min, 1.0);
        EXPECT_EQ(observations.max, 62.0);
    }
}

TEST_P(KernelsTest, ObserveOfNegativeNumbersAloneLeavesTheSmallestPositiveNumberAsMaximum) {
    Buffer values(lanes);
    std::fill_n(values.get(), lanes, -2.0);
    Observations observations;
    kernels.observe(values.c_get(), lanes, observations);
    EXPECT_EQ(observations.max, c_least_normal);
    EXPECT_EQ(observations.min, -2.0);
}

// Programs

/// Columns by number, and the run of a few instructions over them.
class Machine {
 public:
    Machine(Kernels const& kernels, std::size_t nb_columns)
        : m_kernels(&kernels), m_values(nb_columns * lanes) {
        for (std::size_t i = 0; i < nb_columns; ++i) m_columns.push_back(m_values.column(i));
    }

    double* column(std::size_t i) { return m_columns[i]; }
    void set(std::size_t i, auto&& value_of_lane) {
        for (std::size_t lane = 0; lane < lanes; ++lane) column(i)[lane] = value_of_lane(lane);
    }
    /// A column of truth values.
    void set_mask(std::size_t i, auto&& truth_of_lane) {
        set(i, [&](std::size_t lane) {
            return std::bit_cast<double>(truth_of_lane(lane) ? ~std::uint64_t{0} : 0);
        });
    }
    bool truth(std::size_t i, std::size_t lane) {
        auto const bits = bits_of(column(i)[lane]);
        EXPECT_TRUE(bits == 0 || bits == ~std::uint64_t{0});
        return bits != 0;
    }
    void run(std::vector<Instruction> instructions,
             std::vector<std::uint32_t> const& operands = {}) {
        instructions.push_back({});
        m_kernels->run({instructions.data(), operands.data(), m_columns.data()});
    }

 private:
    Kernels const* m_kernels;
    Buffer m_values;
    std::vector<double*> m_columns;
};

template <class... Ops>
void for_each_operator(op::List<Ops...>, auto&& visit) {
    (visit.template operator()<Ops>(), ...);
}

/// Each pair of special values stands in some lane of some of these rounds.
constexpr std::size_t c_rounds = c_special.size() * c_special.size() / lanes;
double first_special(std::size_t round, std::size_t lane) {
    return c_special[(round * lanes + lane) / c_special.size()];
}
double second_special(std::size_t lane) {
    return c_special[lane % c_special.size()];
}

/// Functions of our own may differ in the last places.
template <class Op>
bool is_value(double actual, double expected) {
    if (is_same(actual, expected)) return true;
    bool const is_approximate = std::is_same_v<Op, op::Exp> || std::is_same_v<Op, op::Log>;
    return is_approximate && std::isfinite(expected) &&
           error_in_last_places(actual, static_cast<long double>(expected)) <= 2.0;
}

TEST_P(KernelsTest, EveryOperatorOnAmountsIsThatOfTheTree) {
    for (std::size_t round = 0; round < c_rounds; ++round) {
        Machine machine(kernels, 3);
        auto const x = [&](std::size_t lane) { return first_special(round, lane); };
        machine.set(0, x);
        machine.set(1, second_special);
        for_each_operator(op::AmountUnaries{}, [&]<class Op>() {
            machine.run({{code_of<Op>(), 2, 0, 0}});
            for (std::size_t lane = 0; lane < lanes; ++lane)
                EXPECT_PRED2(is_value<Op>, machine.column(2)[lane], Op::value(x(lane)))
                    << x(lane) << ", operator " << static_cast<int>(code_of<Op>());
        });
        for_each_operator(op::AmountBinaries{}, [&]<class Op>() {
            machine.run({{code_of<Op>(), 2, 0, 1}});
            for (std::size_t lane = 0; lane < lanes; ++lane)
                EXPECT_PRED2(is_value<Op>, machine.column(2)[lane],
                             Op::value(x(lane), second_special(lane)))
                    << x(lane) << ", " << second_special(lane) << ", operator "
                    << static_cast<int>(code_of<Op>());
        });
    }
}

TEST_P(KernelsTest, ADivisionIsExactWithAndWithoutAKnownDivisor) {
    for (double const y : {2.0, -3.0, 0.0001, 128.0, -1e-300})
        for (double const x : c_special) {
            Machine machine(kernels, 4);
            machine.set(1, [&](std::size_t) { return x; });
            machine.set(2, [&](std::size_t) { return y; });
            machine.set(3, [&](std::size_t) { return 1.0 / y; });
            for (std::uint32_t const reciprocal : {0U, 3U}) {
                machine.run({{code_of<op::Div>(), 0, 1, 2, reciprocal}});
                EXPECT_TRUE(is_same(machine.column(0)[0], x / y)) << x << " / " << y;
            }
        }
}

TEST_P(KernelsTest, EveryOperatorOnAmountsMayWriteOverItsOperand) {
    for_each_operator(op::AmountBinaries{}, [&]<class Op>() {
        for (std::uint32_t const to : {0U, 1U}) {
            Machine machine(kernels, 2);
            machine.set(0, [](std::size_t lane) { return 1.0 + static_cast<double>(lane); });
            machine.set(1, [](std::size_t lane) { return 0.5 * static_cast<double>(lane); });
            machine.run({{code_of<Op>(), to, 0, 1}});
            for (std::size_t lane = 0; lane < lanes; ++lane) {
                auto const n = static_cast<double>(lane);
                EXPECT_TRUE(is_same(machine.column(to)[lane], Op::value(1.0 + n, 0.5 * n)));
            }
        }
    });
}

TEST_P(KernelsTest, EveryComparisonIsThatOfTheTree) {
    for (std::size_t round = 0; round < c_rounds; ++round) {
        Machine machine(kernels, 3);
        auto const x = [&](std::size_t lane) { return first_special(round, lane); };
        machine.set(0, x);
        machine.set(1, second_special);
        for_each_operator(op::Comparisons{}, [&]<class Op>() {
            machine.run({{code_of<Op>(), 2, 0, 1}});
            for (std::size_t lane = 0; lane < lanes; ++lane)
                EXPECT_EQ(machine.truth(2, lane), Op::value(x(lane), second_special(lane)))
                    << x(lane) << ", " << second_special(lane);
        });
    }
}

TEST_P(KernelsTest, EveryOperatorOnEventsIsThatOfTheTree) {
    Machine machine(kernels, 3);
    auto const p = [](std::size_t lane) { return lane % 2 == 0; };
    auto const q = [](std::size_t lane) { return lane % 3 == 0; };
    machine.set_mask(0, p);
    machine.set_mask(1, q);
    for_each_operator(op::EventUnaries{}, [&]<class Op>() {
        machine.run({{code_of<Op>(), 2, 0, 0}});
        for (std::size_t lane = 0; lane < lanes; ++lane)
            EXPECT_EQ(machine.truth(2, lane), Op::value(p(lane)));
    });
    for_each_operator(op::EventBinaries{}, [&]<class Op>() {
        machine.run({{code_of<Op>(), 2, 0, 1}});
        for (std::size_t lane = 0; lane < lanes; ++lane)
            EXPECT_EQ(machine.truth(2, lane), Op::value(p(lane), q(lane)));
    });
}

TEST_P(KernelsTest, MasksChooseWhereSomethingIsWritten) {
    auto const p = [](std::size_t lane) { return lane % 2 == 0; };
    auto const q = [](std::size_t lane) { return lane % 3 == 0; };
    auto const number = [](std::size_t lane) { return static_cast<double>(lane); };
    auto const fresh = [&] {
        Machine machine(kernels, 8);
        machine.set_mask(0, p);
        machine.set_mask(1, q);
        machine.set(2, number);
        machine.set(3, [](std::size_t) { return c_nan; });  // what is not chosen is not touched
        for (std::size_t i = 4; i < 8; ++i) machine.set(i, [](std::size_t) { return -5.0; });
        return machine;
    };
    auto machine = fresh();
    machine.run({{Code::copy, 4, 2},
                 {Code::put, 5, 2, 0},
                 {Code::add_where, 6, 2, 0},
                 {Code::except, 7, 0, 1}});
    for (std::size_t lane = 0; lane < lanes; ++lane) {
        EXPECT_EQ(machine.column(4)[lane], number(lane));
        EXPECT_EQ(machine.column(5)[lane], p(lane) ? number(lane) : -5.0);
        EXPECT_EQ(machine.column(6)[lane], p(lane) ? number(lane) - 5.0 : -5.0);
        EXPECT_EQ(machine.truth(7, lane), p(lane) && !q(lane));
    }
    auto other = fresh();
    other.run({{Code::add_to, 4, 2}, {Code::choose, 5, 0, 2, 3}, {Code::choose, 6, 0, 3, 2}});
    for (std::size_t lane = 0; lane < lanes; ++lane) {
        EXPECT_EQ(other.column(4)[lane], number(lane) - 5.0);
        EXPECT_TRUE(is_same(other.column(5)[lane], p(lane) ? number(lane) : c_nan));
        EXPECT_TRUE(is_same(other.column(6)[lane], p(lane) ? c_nan : number(lane)));
    }
}

TEST_P(KernelsTest, ASkipIsTakenWhereNoLaneIsSet) {
    for (std::size_t set = 0; set <= lanes; ++set) {  // `lanes`: none
        Machine machine(kernels, 3);
        machine.set_mask(0, [&](std::size_t lane) { return lane == set; });
        machine.set(1, [](std::size_t) { return 2.0; });
        machine.set(2, [](std::size_t) { return 0.0; });
        machine.run(
            {{Code::skip, 3, 0}, {Code::add_to, 2, 1}, {Code::add_to, 2, 1}, {Code::add_to, 2, 1}});
        for (std::size_t lane = 0; lane < lanes; ++lane)
            EXPECT_EQ(machine.column(2)[lane], set == lanes ? 2.0 : 6.0);
    }
}

TEST_P(KernelsTest, SortGivesTheAmountOfEachPlaceWithNaNBehindAllNumbers) {
    for (std::size_t const size : {1U, 2U, 3U, 7U, 64U}) {
        Machine machine(kernels, size + 1);
        std::vector<std::vector<double>> rows(lanes, std::vector<double>(size));
        std::vector<std::uint32_t> operands{999, 999};  // the list starts behind others
        for (std::size_t k = 0; k < size; ++k) {
            machine.set(k, [&](std::size_t lane) {
                double const value =
                    lane % 4 == 0 ? c_special[random() % c_special.size()] : uniform(-9.0, 9.0);
                return rows[lane][k] = value;
            });
            operands.push_back(static_cast<std::uint32_t>(k));
        }
        for (auto& row : rows)
            std::ranges::stable_sort(
                row, [](double a, double b) { return a < b || (std::isnan(b) && !std::isnan(a)); });
        for (std::uint32_t place = 0; place < size; ++place) {
            machine.run({{Code::sort, static_cast<std::uint32_t>(size), 2,
                          static_cast<std::uint32_t>(size), place}},
                        operands);
            for (std::size_t lane = 0; lane < lanes; ++lane) {
                double const actual = machine.column(size)[lane];
                double const expected = rows[lane][place];
                EXPECT_TRUE(actual == expected || is_same(actual, expected)) << actual << expected;
            }
        }
    }
}

/// The mean of two flows by the weight of the sign of their gap.
double plain_mix(double then, double otherwise, double rising, double falling) {
    if (std::isnan(rising + falling)) return then == otherwise ? otherwise : c_nan;
    double const gap = then - otherwise;
    double const gain = gap < 0.0 ? 0.0 : gap;
    double const loss = gap > 0.0 ? 0.0 : gap;
    return rising * gain + falling * loss + otherwise;
}

TEST_P(KernelsTest, MixTakesTheWeightOfTheSignOfTheGap) {
    constexpr std::array weights{0.0, 0.25, 1.0, c_nan};
    for (double const rising : weights)
        for (double const falling : weights)
            for (std::size_t round = 0; round < c_rounds; ++round) {
                Machine machine(kernels, 5);
                auto const then = [&](std::size_t lane) { return first_special(round, lane); };
                machine.set(0, then);
                machine.set(1, second_special);
                machine.set(2, [&](std::size_t) { return rising; });
                machine.set(3, [&](std::size_t) { return falling; });
                machine.run({{Code::mix, 4, 0, 1, 2, 3}});
                for (std::size_t lane = 0; lane < lanes; ++lane)
                    EXPECT_PRED2(is_same, machine.column(4)[lane],
                                 plain_mix(then(lane), second_special(lane), rising, falling))
                        << then(lane) << ' ' << second_special(lane) << ' ' << rising << ' '
                        << falling;
            }
}

TEST(KernelTables, TheFastestOneIsTaken) {
    EXPECT_EQ(&kernels(), tables().back());
    EXPECT_EQ(portable_kernels()->name, "portable");
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
