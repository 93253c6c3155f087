// The loops of each kind of processor that this one can run, against plain loops over numbers.

#include "core/pricing/block/kernels.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
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

    /// Of exponential and logarithm, in units of the last place; of powers of two 0.1 more.
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

    void expect_exact(Function function, std::vector<double> const& x, auto&& exact,
                      double more = 0.0) const {
        auto const y = apply(function, x);
        for (std::size_t i = 0; i < x.size(); ++i) {
            double const error = error_in_last_places(y[i], exact(static_cast<long double>(x[i])));
            EXPECT_LT(error, allowed_error() + more) << x[i] << " gives " << y[i];
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

TEST_P(KernelsTest, APowerOfTwoIsExactToItsLastPlacesFromSubnormalsToTheLargestNumber) {
    std::vector<double> x;
    for (int i = 0; i <= 200'000; ++i) x.push_back(-1074.4 + i * (1074.4 + 1023.9) / 200'000);
    for (int i = 0; i < 100'000; ++i) x.push_back(uniform(-2.0, 2.0));
    for (int i = 0; i < 20'000; ++i) x.push_back(std::ldexp(uniform(-1.0, 1.0), -i % 1070));
    // around the edges of the parts
    for (int n = -1000 * 32; n <= 1000 * 32; ++n)
        for (double const y : {n / 32.0, std::nextafter(n / 32.0, 1e9)}) x.push_back(y);
    auto const exact = [](long double v) { return std::exp2(v); };
    expect_exact(&Kernels::power_of_two, x, exact, 0.1);
    std::erase_if(x, [](double v) { return std::abs(v) > 1000.0; });
    expect_exact(&Kernels::small_power_of_two, x, exact, 0.1);
}

TEST_P(KernelsTest, APowerOfTwoOfSpecialValues) {
    std::vector<double> const x{0.0,   -0.0,    1.0,   -3.0,    10.0,       c_least,     -c_least,
                                1e300, -1e300,  c_nan, 1024.0,  c_infinite, -c_infinite, -1074.0,
                                1e5,   -1075.1, -1e5,  -1022.0, 1023.0};
    std::vector<double> const y{1.0,        1.0, 2.0,   0.125,      1024.0,     1.0, 1.0,
                                c_infinite, 0.0, c_nan, c_infinite, c_infinite, 0.0, c_least,
                                c_infinite, 0.0, 0.0,   0x1p-1022,  0x1p1023};
    auto const actual = apply(&Kernels::power_of_two, x);
    for (std::size_t i = 0; i < x.size(); ++i)
        EXPECT_TRUE(is_same(actual[i], y[i])) << x[i] << ": " << actual[i];
    std::vector<double> const unusual{std::bit_cast<double>(0x7FF8000000000001U),
                                      std::bit_cast<double>(0xFFFFFFFFFFFFFFFFU)};
    for (double const power : apply(&Kernels::power_of_two, unusual))
        EXPECT_TRUE(std::isnan(power));
    auto const small = apply(&Kernels::small_power_of_two, x);
    for (std::size_t i = 0; i < 7; ++i) EXPECT_TRUE(is_same(small[i], y[i])) << x[i];
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

/// The words of a list, one after the other, as a generator of the standard library.
class ListedWords {
 public:
    using result_type = std::uint64_t;
    explicit ListedWords(std::span<std::uint64_t const> words) : m_words(words) {}
    static constexpr result_type min() { return 0; }
    static constexpr result_type max() { return std::numeric_limits<result_type>::max(); }
    result_type operator()() { return m_words[m_next++]; }

 private:
    std::span<std::uint64_t const> m_words;
    std::size_t m_next{0};
};

/// The word that MT19937-64 tempers to another one: each line undoes one of its steps, the last
/// first, by the digits that are right already.
std::uint64_t untempered(std::uint64_t word) {
    word ^= word >> 43;
    word ^= (word << 37) & 0xFFF7EEE000000000U;
    std::uint64_t wanted = word;
    for (int i = 0; i < 4; ++i) word = wanted ^ ((word << 17) & 0x71D67FFFEDA60000U);
    wanted = word;
    for (int i = 0; i < 3; ++i) word = wanted ^ ((word >> 29) & 0x5555555555555555U);
    return word;
}

/// A state of MT19937-64 whose next words begin with 156 given ones.
std::array<std::uint64_t, 320> state_before(std::array<std::uint64_t, 156> const& words) {
    std::array<std::uint64_t, 320> state{};
    std::mt19937_64 any(3);
    for (std::size_t i = 0; i < 156; ++i) state[i] = any();
    state[156] = 0;
    // the word 156 + i enters the next word i as it stands; the first and the second ones as a half
    for (std::size_t i = 0; i < 156; ++i) {
        std::uint64_t const half =
            (state[i] & 0xFFFFFFFF80000000U) | (state[i + 1] & 0x000000007FFFFFFFU);
        state[i + 156] = untempered(words[i]) ^ (half >> 1) ^ (half % 2 * 0xB5026F5AA96619E9U);
    }
    return state;
}

TEST_P(KernelsTest, PointsOfWordsAtTheEdges) {
    // the largest words, whose doubles would give 1; halves, which give 0; a point next to the edge
    constexpr std::uint64_t top = std::numeric_limits<std::uint64_t>::max();
    constexpr std::uint64_t half = std::uint64_t{1} << 63;
    constexpr std::array<std::uint64_t, 18> edges{
        top,      top - 511, top - 512, top - 1023, top - 1024,          top - 1025,
        half,     half - 1,  half + 1,  half + 256, half + 4096,         half - 4096,
        half / 2, 0,         1,         2048,       half + (1ULL << 37), half - (1ULL << 37)};
    std::mt19937_64 pick(5);
    for (int round = 0; round < 300; ++round) {
        std::array<std::uint64_t, 156> words{};
        for (auto& word : words) word = pick() % 4 == 0 ? pick() : edges[pick() % edges.size()];
        ListedWords listed(words);
        std::vector<std::array<double, 2>> expected;
        for (std::size_t i = 0; i < words.size(); i += 2) {
            double const x = 2.0 * std::generate_canonical<double, 53>(listed) - 1.0;
            double const y = 2.0 * std::generate_canonical<double, 53>(listed) - 1.0;
            double const r2 = x * x + y * y;
            if (r2 <= 1.0 && r2 != 0.0) expected.push_back({x, y});
        }
        auto state = state_before(words);
        std::vector<double> x(PointSequence::s_slack);
        std::vector<double> y(x.size());
        ASSERT_GE(kernels.draw_points(state.data(), x.data(), y.data()), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            ASSERT_EQ(x[i], expected[i][0]) << round << ' ' << i;
            ASSERT_EQ(y[i], expected[i][1]) << round << ' ' << i;
        }
    }
}

/// Buffers for the columns of a block, and its points.
struct Tile {
    explicit Tile(std::size_t a_stride)
        : stride(a_stride),
          x(stride * lanes / 2 + PointSequence::s_slack),
          y(x.c_get_size()),
          scratch(scratch_size(stride)),
          columns((stride + 1) * lanes) {
        for (auto* buffer : {&x, &y}) std::fill_n(buffer->get(), buffer->c_get_size(), 0.5);
        std::fill_n(columns.get(), columns.c_get_size(), 77.0);
    }
    void make(Kernels const& kernels, std::size_t nb_columns) {
        kernels.make_columns(x.c_get(), y.c_get(), stride, nb_columns, scratch.get(),
                             columns.get());
    }

    std::size_t stride;
    Buffer x;
    Buffer y;
    Buffer scratch;
    Buffer columns;
};

TEST_P(KernelsTest, ColumnsHoldTheNormalsOfTheStandardDistributionPathByPath) {
    for (std::uint64_t const seed :
         {std::uint64_t{23051994}, std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max()})
        for (std::size_t const stride : {1U, 2U, 3U, 17U, 60U, 61U, 250U}) {
            PointSequence sequence(kernels, seed);
            std::mt19937_64 generator(seed);
            std::normal_distribution<double> distribution;
            Tile tile(stride);
            for (int block = 0; block < 12; ++block) {
                sequence.draw(stride * lanes / 2, tile.x.get(), tile.y.get());
                tile.make(kernels, stride);
                for (std::size_t lane = 0; lane < lanes; ++lane)
                    for (std::size_t c = 0; c < stride; ++c) {
                        double const expected = distribution(generator);
                        double const actual = tile.columns.c_column(c)[lane];
                        ASSERT_LE(std::abs(actual - expected), 1e-15 * std::abs(expected))
                            << seed << ' ' << stride << ' ' << lane << ' ' << c;
                    }
            }
        }
}

TEST_P(KernelsTest, ColumnsBehindTheWantedOnesAreLeftAlone) {
    for (std::size_t stride = 1; stride < 40; ++stride)
        for (std::size_t nb_columns = 0; nb_columns <= stride; ++nb_columns) {
            Tile all(stride);
            PointSequence(kernels, stride).draw(stride * lanes / 2, all.x.get(), all.y.get());
            Tile some(stride);
            std::copy_n(all.x.c_get(), all.x.c_get_size(), some.x.get());
            std::copy_n(all.y.c_get(), all.y.c_get_size(), some.y.get());
            all.make(kernels, stride);
            some.make(kernels, nb_columns);
            for (std::size_t c = 0; c <= stride; ++c)
                for (std::size_t lane = 0; lane < lanes; ++lane)
                    ASSERT_EQ(some.columns.c_column(c)[lane],
                              c < nb_columns ? all.columns.c_column(c)[lane] : 77.0);
        }
}

TEST_P(KernelsTest, NormalsOfPointsAtTheEdgesOfTheDisc) {
    double const least = 0x1p-53;
    std::array<std::array<double, 2>, 7> const points{{{1.0, 0.0},
                                                       {0.0, -1.0},
                                                       {least, 0.0},
                                                       {0.0, -least},
                                                       {-0x1.fffffffffffffp-1, 0x1p-52},
                                                       {0x1.bb67ae8584caap-1, 0.0},  // r^2 near 3/4
                                                       {0x1.bb67ae8584cabp-1, 0.0}}};
    Tile tile(2);  // a point for each path
    for (std::size_t i = 0; i < points.size(); ++i) {
        tile.x.get()[i] = points[i][0];
        tile.y.get()[i] = points[i][1];
    }
    tile.make(kernels, 2);
    for (std::size_t i = 0; i < points.size(); ++i) {
        auto const [px, py] = points[i];
        double const r2 = px * px + py * py;
        double const m = std::sqrt(-2.0 * std::log(r2) / r2);
        EXPECT_NEAR(tile.columns.c_column(0)[i], py * m, 1e-15 * std::abs(py * m)) << i;
        EXPECT_NEAR(tile.columns.c_column(1)[i], px * m, 1e-15 * std::abs(px * m)) << i;
    }
}

TEST_P(KernelsTest, NormalsNextToTheEdgesOfTheLogarithmsParts) {
    // r^2 around each place where the logarithm takes another row of its table
    Tile tile(2);
    for (int exponent = -40; exponent <= 0; ++exponent)
        for (int part = 8; part <= 16; ++part) {
            double const r = std::sqrt(std::ldexp(part / 16.0, exponent));
            for (std::size_t i = 0; i < 33; ++i) {
                double const px =
                    r * (1.0 + (static_cast<double>(i) - 16.0) * 0x1p-52);  // 16 places around it
                tile.x.get()[i] = std::min(px, 1.0);
                tile.y.get()[i] = 0.0;
            }
            tile.make(kernels, 2);
            for (std::size_t i = 0; i < 33; ++i) {
                long double const px = tile.x.c_get()[i];
                auto const r2 = static_cast<long double>(static_cast<double>(px * px));
                long double const exact = px * std::sqrt(-2.0L * std::log(r2) / r2);
                ASSERT_NEAR(tile.columns.c_column(1)[i], static_cast<double>(exact),
                            1e-15 * static_cast<double>(exact))
                    << exponent << ' ' << part << ' ' << i;
            }
        }
}

// Paths

TEST_P(KernelsTest, EvolveIsThePathOfAPlainLoop) {
    for (int round = 0; round < 200; ++round) {
        auto const pick = [&](std::size_t most) { return 1 + random() % most; };
        std::size_t const nb_steps = pick(9);
        std::size_t const nb_factors = pick(5);
        std::size_t const nb_weights = 1 + random() % nb_factors;
        bool const has_drifts = random() % 2 == 0;
        bool const is_mirrored = random() % 2 == 0;
        bool const has_forwards = random() % 2 == 0;
        Buffer normals(nb_steps * nb_factors * lanes);
        for (std::size_t i = 0; i < normals.c_get_size(); ++i) normals.get()[i] = uniform(-4, 4);
        auto const numbers = [&](std::size_t size, double low, double high) {
            std::vector<double> made(size);
            for (auto& value : made) value = uniform(low, high);
            return made;
        };
        auto const weights = numbers(nb_steps * nb_weights, -0.3, 0.3);
        auto const drifts = numbers(nb_steps, -0.1, 0.1);
        auto const forwards = numbers(nb_steps, 50.0, 150.0);
        std::vector<unsigned char> is_read(nb_steps);
        for (auto& flag : is_read) flag = random() % 2;
        Buffer growth(nb_steps * lanes);
        std::fill_n(growth.get(), growth.c_get_size(), 77.0);
        kernels.evolve({normals.c_get(), nb_factors, weights.data(), nb_weights,
                        has_drifts ? drifts.data() : nullptr, is_read.data(), nb_steps,
                        has_forwards ? forwards.data() : nullptr, is_mirrored},
                       growth.get());
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            double x = 0.0;
            for (std::size_t step = 0; step < nb_steps; ++step) {
                double w = 0.0;
                for (std::size_t j = 0; j < nb_weights; ++j)
                    w += weights[step * nb_weights + j] *
                         normals.c_column(step * nb_factors + j)[lane];
                x += (is_mirrored ? -w : w) + (has_drifts ? drifts[step] : 0.0);
                double const level = std::exp2(x) * (has_forwards ? forwards[step] : 1.0);
                double const expected = is_read[step] == 0 ? 77.0 : level;
                ASSERT_NEAR(growth.c_column(step)[lane], expected, 1e-14 * expected);
            }
        }
    }
}

TEST_P(KernelsTest, APathWithoutVolatilityStandsExactlyAtOne) {
    Buffer normals(lanes);
    for (std::size_t i = 0; i < lanes; ++i) normals.get()[i] = uniform(-4.0, 4.0);
    double const none = 0.0;
    unsigned char const is_read = 1;
    for (double const* drifts : {static_cast<double const*>(nullptr), &none}) {
        Buffer growth(lanes);
        kernels.evolve({normals.c_get(), 1, &none, 1, drifts, &is_read, 1}, growth.get());
        for (std::size_t lane = 0; lane < lanes; ++lane) EXPECT_EQ(growth.c_get()[lane], 1.0);
    }
}

TEST_P(KernelsTest, PathsWithDriftsGoAsFarAsNumbersDo) {
    Buffer normals(lanes);
    for (std::size_t i = 0; i < lanes; ++i) normals.get()[i] = static_cast<double>(i) - 31.5;
    double const weight = 1000.0;
    unsigned char const is_read = 1;
    for (double const drift : {0.0, 1e300, -1e300, c_infinite, -c_infinite, c_nan}) {
        Buffer growth(lanes);
        kernels.evolve({normals.c_get(), 1, &weight, 1, &drift, &is_read, 1}, growth.get());
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            double const x = weight * normals.c_get()[lane] + drift;
            double const expected = std::isnan(x) ? c_nan : std::exp2(x);
            double const actual = growth.c_get()[lane];
            EXPECT_TRUE(is_same(actual, expected) || std::abs(actual / expected - 1.0) < 1e-15)
                << drift << ' ' << lane << ": " << actual << ", not " << expected;
        }
    }
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

TEST(KernelTables, TheFastestOneIsTakenUnlessAnotherIsAskedFor) {
    auto const* wanted = std::getenv("XIM_INSTRUCTION_SET");
    auto const all = tables();
    auto const named = std::ranges::find_if(
        all, [&](auto const* table) { return wanted != nullptr && table->name == wanted; });
    EXPECT_EQ(&kernels(), named == all.end() ? all.back() : *named);
    EXPECT_EQ(portable_kernels()->name, "portable");
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
