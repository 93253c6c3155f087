// The run of a program over all paths: normals drawn as they are needed, one block of paths after
// the other through every market state, and thrown away.

#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "core/pricing/block/kernels.hpp"
#include "core/pricing/block/program.hpp"
#include "core/pricing/block/state.hpp"

namespace ximCORE::Pricing::Block {

/// The columns of one block, one for each scenario: the value of the contract on each path.
class Values {
 public:
    explicit Values(std::size_t size) : m_columns(size * lanes) {}
    [[nodiscard]] double* get(std::size_t scenario) { return m_columns.column(scenario); }
    [[nodiscard]] double const* c_get(std::size_t scenario) const {
        return m_columns.c_column(scenario);
    }

 private:
    Buffer m_columns;
};

/// What a program is run for: a state, with numbers for the inputs.
struct Scenario {
    std::size_t state{0};
    std::vector<double>
        inputs;  ///< of the program's named inputs; discount factors are the state's
};

/// What is made of the values of a block.
class Reduction {
 public:
    virtual ~Reduction() = default;
    [[nodiscard]] virtual std::size_t c_get_nb_results() const = 0;
    /// Adds the first `count` paths to each result. On any thread; no allocation.
    virtual void reduce(Values const& values, std::size_t count,
                        std::span<Observations> results) const = 0;
};

/// Each scenario by itself.
class EachScenario final : public Reduction {
 public:
    explicit EachScenario(std::size_t size) : m_size(size) {}
    [[nodiscard]] std::size_t c_get_nb_results() const override { return m_size; }
    void reduce(Values const& values, std::size_t count,
                std::span<Observations> results) const override {
        for (std::size_t i = 0; i < m_size; ++i)
            kernels().observe(values.c_get(i), count, results[i]);
    }

 private:
    std::size_t m_size;
};

/// How many paths, and from which normals.
struct Plan {
    std::uint64_t seed;
    std::uint64_t trials;
    std::size_t normals_per_trial;
    std::size_t nb_factors;  ///< of a step
    double antithetic_factor;
    std::size_t nb_threads;  ///< the most
};

/// The results of all trials, the same to the last bit for every number of threads. `states[0]` is
/// the central one, on which the others build; every scenario names one of them. Memory is constant
/// in the trials. Throws `std::bad_alloc`, and what the start of a thread throws.
[[nodiscard]] std::vector<Observations> run(Program const& program,
                                            std::vector<State> const& states,
                                            std::vector<Scenario> const& scenarios,
                                            Reduction const& reduction, Plan const& plan);

/// The mean of all trials of a program with adjoints, and its derivatives by the path of each
/// underlying in the central state: of 1 / trials times what `Kernels::descend` adds up.
struct Gradient {
    struct Path {
        std::vector<double> levels;   ///< [fixing date], up to the last one read
        std::vector<double> normals;  ///< [fixing date][factor], as many as the path has loadings
    };

    Observations price;
    std::vector<Path> paths;  ///< [underlying]
};

/// As `run`, for one state and the program's own numbers; the price is the first result.
[[nodiscard]] Gradient differentiate(Program const& program, State const& state,
                                     Reduction const& reduction, Plan const& plan);

}  // namespace ximCORE::Pricing::Block
