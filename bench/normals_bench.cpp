// Standard normals per second: the blocks of the cube against the standard library drawing one by
// one, both with their store.

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "baseline.hpp"
#include "core/modeling/cube.hpp"

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

BENCHMARK(fill_cube)->Arg(10'000)->Arg(5'000'000)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
