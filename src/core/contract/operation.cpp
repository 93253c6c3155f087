#include "core/contract/operation.hpp"

#include <array>
#include <stdexcept>

namespace ximCORE::Contract {

namespace {

/// By type. Relied on: the square root has no text.
constexpr std::array<char const*, 23> c_texts{
    ">", "<", ">=", "<=",  "==",  "!=",  "Max", "Min", "&&",    "||",  "!",  "-",
    "*", "/", "+",  "Abs", "Sin", "Cos", "Tan", "Log", nullptr, "Exp", "Pow"};

}  // namespace

char const* Operation::c_str() const {
    auto const index = static_cast<std::size_t>(m_type);
    if (index >= c_texts.size() || c_texts[index] == nullptr)
        throw std::runtime_error("Unknown error");
    return c_texts[index];
}

}  // namespace ximCORE::Contract
