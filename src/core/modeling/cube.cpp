#include "core/modeling/cube.hpp"

#include <tuple>

#include "core/modeling/normal_generator.hpp"
#include "core/toolbox/containers.hpp"
#include "core/toolbox/errors.hpp"

namespace ximCORE::Toolbox::LinearAlgebra::Eigen {

Cube::Cube(std::uint64_t steps, std::uint64_t factors, std::uint64_t trials)
    : MatrixBase(steps, factors, trials),
      m_slice_size(checked_product(steps, factors)),
      m_values(std::make_unique_for_overwrite<double[]>(checked_product(m_slice_size, trials))) {}

Cube::Cube(std::uint64_t steps, std::uint64_t factors, std::uint64_t trials, std::uint64_t seed)
    : MatrixBase(steps, factors, trials),
      m_slice_size(checked_product(steps, factors)),
      m_seed(seed) {
    std::ignore = checked_product(m_slice_size, trials);
}

void Cube::_draw() {
    m_values = std::make_unique_for_overwrite<double[]>(m_slice_size * c_get_trials());
    fill_normal(m_seed);
}

void Cube::fill_normal(std::uint64_t seed) {
    Modeling::fill_standard_normals(seed, {m_values.get(), m_slice_size * c_get_trials()});
}

double Cube::get(std::uint64_t step, std::uint64_t factor, std::uint64_t trial) const {
    return m_values[_position(step, factor, trial)];
}

void Cube::opposite(std::uint64_t trial) {
    if (trial >= c_get_trials() || m_values == nullptr) raise_segmentation_fault();
    double* const slice = m_values.get() + trial * m_slice_size;
    for (std::size_t i = 0; i < m_slice_size; ++i) slice[i] = -slice[i];
}

void Cube::opposite() {
    for (std::uint64_t trial = 0; trial < c_get_trials(); ++trial) opposite(trial);
}

void Cube::set(std::uint64_t step, std::uint64_t factor, std::uint64_t trial, double value) {
    m_values[_position(step, factor, trial)] = value;
}

double const* Cube::c_get_slice(std::uint64_t trial) const {
    if (trial >= c_get_trials() || m_values == nullptr) raise_segmentation_fault();
    return m_values.get() + trial * m_slice_size;
}

std::size_t Cube::_position(std::uint64_t step, std::uint64_t factor, std::uint64_t trial) const {
    if (step >= c_get_steps() || factor >= c_get_factors() || trial >= c_get_trials() ||
        m_values == nullptr)
        raise_segmentation_fault();
    return trial * m_slice_size + step * c_get_factors() + factor;
}

}  // namespace ximCORE::Toolbox::LinearAlgebra::Eigen
