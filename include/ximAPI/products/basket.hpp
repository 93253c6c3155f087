// One underlying of a basket product.
#pragma once

#include <string>

namespace ximAPI {

/// The weight is in percent.
struct BasketStatement {
    std::string Ticker;
    float Weight{};
};

}  // namespace ximAPI
