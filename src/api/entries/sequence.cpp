#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <stdexcept>

#include "ximAPI/ximAPI.hpp"

namespace {

constexpr std::int32_t c_most_numbers{1000000};

/// Number k of n, computed in double.
double value_at(ximAPI::SequenceResults const& sequence, std::size_t k) {
    using enum ximAPI::SequenceKind;
    auto const n = static_cast<double>(sequence.Size);
    auto const place = static_cast<double>(k);
    auto const lower = static_cast<double>(sequence.LowerValue);
    auto const upper = static_cast<double>(sequence.UpperValue);
    switch (sequence.Kind) {
        case UNIFORM:
            return place + 1.0 == n ? upper : place * (upper - lower) / (n - 1.0) + lower;
        case CONSTANT:
            return lower;
        case CHEBYCHEV:
            // Relied on: the nodes are centred on the lower value with the whole width as
            // half-width
            return lower +
                   (upper - lower) * std::cos((2.0 * place + 1.0) * std::numbers::pi / (2.0 * n));
    }
    return 0.0;
}

bool is_known(ximAPI::SequenceKind kind) {
    return kind >= ximAPI::SequenceKind::UNIFORM && kind <= ximAPI::SequenceKind::CHEBYCHEV;
}

}  // namespace

bool GetSequence(ximAPI::SequenceResults& results) {
    if (results.Size <= 0 || !is_known(results.Kind)) return true;
    if (results.Size > c_most_numbers) throw std::length_error("Too many points");
    auto const size = static_cast<std::size_t>(results.Size);
    results.Values.reserve(results.Values.size() + size);
    for (std::size_t k = 0; k < size; ++k) {
        results.Values.push_back(static_cast<float>(value_at(results, k)));
    }
    return true;
}
