#include "core/pricing/block/descents.hpp"

#include <algorithm>
#include <numeric>

namespace ximCORE::Pricing::Block {

Descents::Descents(Kernels const& kernels, std::size_t nb_factors, std::vector<Shape> const& shapes)
    : m_kernels(&kernels), m_nb_factors(nb_factors) {
    std::size_t size = 0;
    for (auto const& [nb_steps, nb_loadings] : shapes) {
        std::vector<double const*> const none(nb_steps, nullptr);
        m_paths.push_back({size, nb_loadings, none, none});
        size += nb_steps * (1 + nb_loadings) * sum_width;
    }
    m_sums = Buffer(size);
    std::fill_n(m_sums.get(), size, 0.0);
}

void Descents::set_columns(Program const& program, std::vector<double*> const& columns) {
    for (std::size_t i = 0; i < program.cell_adjoints.size(); ++i) {
        if (program.cell_adjoints[i] == Program::no_column) continue;
        auto const date = static_cast<std::size_t>(program.cells[i].fixing_rank);
        auto& path = m_paths[static_cast<std::size_t>(program.cells[i].underlying_rank)];
        path.adjoints[date] = columns[program.cell_adjoints[i]];
        path.levels[date] = columns[program.c_get_first_cell() + i];
    }
}

void Descents::add(double const* normals, double sign) {
    for (auto const& path : m_paths)
        m_kernels->descend({normals, m_nb_factors, path.nb_loadings, sign, path.adjoints.data(),
                            path.levels.data(), path.levels.size()},
                           m_sums.get() + path.first);
}

void Descents::take(std::vector<double>& sums) {
    for (std::size_t i = 0; i < sums.size(); ++i) {
        double const* const first = m_sums.get() + i * sum_width;
        sums[i] = std::accumulate(first, first + sum_width, 0.0);
    }
    std::fill_n(m_sums.get(), m_sums.c_get_size(), 0.0);
}

}  // namespace ximCORE::Pricing::Block
