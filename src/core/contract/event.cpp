#include "core/contract/event.hpp"

#include <tuple>

#include "core/contract/text.hpp"

namespace ximCORE::Contract {

double Event::smooth_eval(Modeling::FixingGrid& grid, Variables& variables, double lhs, double rhs,
                          int const& direction) {
    Weights weights;
    std::ignore = weigh({&grid, &variables, lhs, rhs, direction}, weights);
    return weights.towards;
}

bool Event::smooth_eval(double lhs, double rhs, double& weight, int const& direction) {
    Weights weights;
    if (!weigh({nullptr, nullptr, lhs, rhs, direction}, weights)) return false;
    weight = weights.towards;
    return true;
}

void Event::c_write(std::string& text, std::uint64_t width) const {
    std::string own;
    c_to_string(own);
    append_lines(text, own, 0, width);
}

}  // namespace ximCORE::Contract
