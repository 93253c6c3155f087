// The operator of a node as one byte, which serves only its text.
#pragma once

#include <cstdint>

namespace ximCORE::Contract {

class Operation {
 public:
    enum class Type : std::uint8_t {
        greater,
        lower,
        greater_or_equal,
        lower_or_equal,
        equal,
        not_equal,
        max,
        min,
        logical_and,
        logical_or,
        logical_not,  // carried by no node
        sub,
        mul,
        div,
        add,
        abs,
        sin,
        cos,
        tan,
        log,
        sqrt,
        exp,
        pow
    };

    constexpr explicit Operation(Type type) : m_type(type) {}

    Type c_get_type() const { return m_type; }
    char c_get_symbol() const { return static_cast<char>(m_type); }
    /// The text of the operator. Throws `std::runtime_error` "Unknown error" for the square root
    /// and unknown types.
    char const* c_str() const;

 private:
    Type m_type;
};

}  // namespace ximCORE::Contract
