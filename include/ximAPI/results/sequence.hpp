// A list of numbers for axes and grids, JSON member "Sequence".
#pragma once

#include <cstdint>
#include <vector>

#include "ximAPI/enums.hpp"

namespace ximAPI {

struct SequenceResults {
    SequenceKind Kind{};
    float LowerValue{};
    std::int32_t Size{};  ///< how many numbers; below 0 counts as 0
    float UpperValue{};
    std::vector<float> Values;  ///< the numbers are appended to what is here
};

}  // namespace ximAPI
