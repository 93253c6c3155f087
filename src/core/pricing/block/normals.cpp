#include "core/pricing/block/normals.hpp"

#include <algorithm>

namespace ximCORE::Pricing::Block {

PointSequence::PointSequence(Kernels const& kernels, std::uint64_t seed) : m_kernels(&kernels) {
    m_state[0] = seed;
    for (std::size_t i = 1; i < s_block_words; ++i) {
        std::uint64_t const previous = m_state[i - 1];
        m_state[i] = 6364136223846793005U * (previous ^ (previous >> 62)) + i;
    }
}

void PointSequence::draw(std::size_t nb_points, double* x, double* y) {
    std::size_t const taken = std::min(nb_points, m_ahead);
    std::copy_n(m_x.begin(), taken, x);
    std::copy_n(m_y.begin(), taken, y);
    m_ahead -= taken;
    std::copy_n(m_x.begin() + taken, m_ahead, m_x.begin());
    std::copy_n(m_y.begin() + taken, m_ahead, m_y.begin());
    std::size_t drawn = taken;
    while (drawn < nb_points) drawn += m_kernels->draw_points(m_state.data(), x + drawn, y + drawn);
    if (drawn == nb_points) return;
    m_ahead = drawn - nb_points;
    std::copy_n(x + nb_points, m_ahead, m_x.begin());
    std::copy_n(y + nb_points, m_ahead, m_y.begin());
}

}  // namespace ximCORE::Pricing::Block
