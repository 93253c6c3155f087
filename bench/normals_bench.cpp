// Standard normals per second: the blocks of the cube, and the vectors of the block engine, against
// the standard library drawing one by one.

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "baseline.hpp"
#include "core/modeling/cube.hpp"
#include "core/pricing/block/normals.hpp"

namespace {

using ximBench::Best;
using ximBench::seconds;

void fill_cube(benchmark::State& state) {
    auto const size = static_cast<std::uint64_t>(state.range(0));
    ximCORE::Modeling::Cube cube(size, 1, 1);
    std::vector<double> values(size);
    Best ours;
    Best standard;
    for (auto _ : state) {
        double const time = seconds([&] { cube.fill_normal(23051994); });
        ours.add(time);
        state.SetIterationTime(time);
        standard.add(seconds([&] {
            std::mt19937_64 generator(23051994);
            std::normal_distribution<double> normal;
            for (double& value : values) value = normal(generator);
        }));
        benchmark::DoNotOptimize(values.data());
        benchmark::DoNotOptimize(cube.c_get_slice(0));
    }
    auto const count = static_cast<double>(size);
    state.counters["normals_per_second"] = count / ours.c_get();
    state.counters["standard_per_second"] = count / standard.c_get();
    state.counters["ratio_to_standard"] = ours.c_get() / standard.c_get();
}

/// As the block engine consumes them: a block of paths at a time, none stored.
void vectors(benchmark::State& state) {
    namespace Block = ximCORE::Pricing::Block;
    constexpr std::size_t stride = 60;                        // normals of a path
    constexpr std::size_t piece = stride * Block::lanes / 2;  // points, two normals each
    auto const nb_pieces = static_cast<std::size_t>(state.range(0)) / (2 * piece);
    auto const& kernels = Block::kernels();
    Block::Buffer x(piece + Block::PointSequence::s_slack);
    Block::Buffer y(piece + Block::PointSequence::s_slack);
    Block::Buffer scratch(Block::scratch_size(stride));
    Block::Buffer columns(stride * Block::lanes);
    Best ours;
    Best standard;
    for (auto _ : state) {
        double const time = seconds([&] {
            Block::PointSequence points(kernels, 23051994);
            for (std::size_t i = 0; i < nb_pieces; ++i) {
                points.draw(piece, x.get(), y.get());
                kernels.make_columns(x.c_get(), y.c_get(), stride, stride, scratch.get(),
                                     columns.get());
                benchmark::DoNotOptimize(columns.get());
            }
        });
        ours.add(time);
        state.SetIterationTime(time);
        standard.add(seconds([&] {
            std::mt19937_64 generator(23051994);
            std::normal_distribution<double> normal;
            double sum = 0.0;
            for (std::size_t i = 0; i < nb_pieces * 2 * piece; ++i) sum += normal(generator);
            benchmark::DoNotOptimize(sum);
        }));
    }
    auto const count = static_cast<double>(nb_pieces * 2 * piece);
    state.counters["normals_per_second"] = count / ours.c_get();
    state.counters["times_faster_than_standard"] = standard.c_get() / ours.c_get();
}

BENCHMARK(vectors)->Arg(5'000'000)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(fill_cube)->Arg(10'000)->Arg(5'000'000)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
