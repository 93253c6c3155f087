#include "core/data/quote.hpp"

namespace ximCORE::Data {

bool MarketDataQuote::eval(double& out, Level level) {
    if (!c_has_val(level)) return false;
    build();
    out = c_shift(m_val);
    return true;
}

}  // namespace ximCORE::Data
