#include "core/pricing/block/state.hpp"

#include <utility>

#include "core/modeling/mc_helper.hpp"

namespace ximCORE::Pricing::Block {

namespace {

/// The known object where it is equal, else one that holds the value.
template <class T>
std::shared_ptr<T const> shared(T value, std::shared_ptr<T const> const* known) {
    if (known != nullptr && **known == value) return *known;
    return std::make_shared<T const>(std::move(value));
}

}  // namespace

bool State::read(Modeling::MCHelper const& helper, State const* central) {
    auto const& calibration = helper.c_get_current();
    paths.clear();
    forwards.clear();
    for (std::size_t u = 0; u < helper.c_get_nb_underlyings(); ++u) {
        Path path;
        if (!helper.c_get_lognormal_steps(u, path.diffusions, path.drifts)) return false;
        std::uint64_t const factor = helper._c_get_equity_like_index(u);
        for (std::uint64_t j = 0; j <= factor; ++j)
            path.loadings.push_back(helper.c_get_cholesky().get(factor, j));
        Forwards levels;
        for (std::size_t k = 0; k < helper.c_get_nb_fixing_dates(); ++k)
            levels.push_back(calibration.forwards.get(u, k));
        paths.push_back(shared(std::move(path), central == nullptr ? nullptr : &central->paths[u]));
        forwards.push_back(
            shared(std::move(levels), central == nullptr ? nullptr : &central->forwards[u]));
    }
    auto const& factors = helper.c_get_discount_factors();
    discount_factors.assign(factors.begin(), factors.end());
    return true;
}

}  // namespace ximCORE::Pricing::Block
