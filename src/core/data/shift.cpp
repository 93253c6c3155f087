#include "core/data/shift.hpp"

#include <stdexcept>

namespace ximCORE::Data {

namespace {

double in_unit(MarketDataShift::Unit unit, double value) {
    switch (unit) {
        case MarketDataShift::Unit::percentage:
            return value * 0.01;
        case MarketDataShift::Unit::basis_point:
            return value * 0.0001;
        case MarketDataShift::Unit::none:
            break;
    }
    return value;
}

}  // namespace

double MarketDataShift::c_eval(double x) const {
    double const v = in_unit(unit, value);
    switch (kind) {
        case Kind::additive:
            return x + v;
        case Kind::assignment:
            return v;
        case Kind::hybrid:
            return (1.0 + v) * x;
        case Kind::multiplicative:
            return v * x;
    }
    throw std::runtime_error("Unknown error");
}

double MarketDataShift::c_get_slope() const {
    switch (kind) {
        case Kind::additive:
            return 1.0;
        case Kind::assignment:
            return 0.0;
        case Kind::hybrid:
            return 1.0 + in_unit(unit, value);
        case Kind::multiplicative:
            return in_unit(unit, value);
    }
    throw std::runtime_error("Unknown error");
}

}  // namespace ximCORE::Data
