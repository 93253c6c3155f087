// The forms of Math that work element by element on Eigen arrays; apart from math.hpp, which most
// of the core includes.
#pragma once

#include <Eigen/Core>

#include "core/toolbox/math.hpp"

namespace ximCORE::Toolbox {

template <class Derived>
typename Derived::PlainObject Math::sgn(Eigen::ArrayBase<Derived> const& x) {
    return x.unaryExpr([](double element) { return static_cast<double>(sgn(element)); });
}

template <class Derived>
typename Derived::PlainObject Math::get_call_spread(Eigen::ArrayBase<Derived> const& x,
                                                    double strike, double left, double right,
                                                    signed char sign) {
    return x.unaryExpr(
        [=](double element) { return get_call_spread(element, strike, left, right, sign); });
}

}  // namespace ximCORE::Toolbox
