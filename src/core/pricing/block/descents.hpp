// The way back along the paths of a block, for all underlyings: the sums of `Kernels::descend`.

#pragma once

#include <cstddef>
#include <vector>

#include "core/pricing/block/kernels.hpp"
#include "core/pricing/block/program.hpp"

namespace ximCORE::Pricing::Block {

/// The sums of one thread. Nothing allocates but the constructor.
class Descents {
 public:
    /// Of the path of one underlying: steps up to the last one read, and loadings.
    struct Shape {
        std::size_t nb_steps;
        std::size_t nb_loadings;
    };

    /// `nb_factors`: columns of normals of a step. Without shapes there is nothing to add up.
    Descents(Kernels const& kernels, std::size_t nb_factors, std::vector<Shape> const& shapes);

    /// Where the levels and their adjoints stand: the columns of a program with adjoints.
    void set_columns(Program const& program, std::vector<double*> const& columns);
    /// Adds a block of paths whose program has run. `sign`: of the normals on this side.
    void add(double const* normals, double sign);
    /// The sums since the last call, [underlying][step][1 + loading].
    void take(std::vector<double>& sums);
    [[nodiscard]] std::size_t c_get_nb_sums() const { return m_sums.c_get_size() / sum_width; }

 private:
    struct Path {
        std::size_t first;  ///< place of its sums
        std::size_t nb_loadings;
        std::vector<double const*> adjoints;  ///< [step], null where not read; likewise the levels
        std::vector<double const*> levels;
    };

    Kernels const* m_kernels;
    std::size_t m_nb_factors;
    std::vector<Path> m_paths;
    Buffer m_sums;
};

}  // namespace ximCORE::Pricing::Block
