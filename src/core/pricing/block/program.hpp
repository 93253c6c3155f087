// A contract as a flat program over columns: what the tree of nodes does on one path, done for a
// block of paths by one instruction after the other.

#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "core/contract/operators.hpp"

namespace ximCORE::Pricing::Block {

/// Which loop an instruction runs. The first ones are written out below; behind them every operator
/// of the tree has one code, in the order of its list, and behind these every operand of an
/// operator of amounts, whose adjoint it gives.
enum class Code : std::uint16_t {
    end,
    skip,       ///< on to instruction `to` when no lane of mask a is set
    copy,       ///< to = a
    put,        ///< to = a where mask b
    add_to,     ///< to += a
    add_where,  ///< to += a where mask b
    except,     ///< mask to = a without b
    choose,     ///< to = b where mask a, c elsewhere
    mix,        ///< to = b + p (a - b), p being c where a - b is positive, d where negative
    sort,       ///< to = the amount at place c among the b operands from a on, in ascending order
    sort_back,  ///< the adjoint of operand c of such a sort, whose operands, b of them, result and
                ///< adjoint are listed from a on: all of it goes to the first that is the result
    first_operator
};

/// The most operands of `sort`.
inline constexpr std::uint32_t sort_limit = 64;

/// Operands and results are columns, but for the places named with the codes. A division by a
/// constant has the column of its reciprocal as c, any other 0.
struct Instruction {
    Code code{Code::end};
    std::uint32_t to{0};
    std::uint32_t a{0};
    std::uint32_t b{0};
    std::uint32_t c{0};
    std::uint32_t d{0};
};

namespace detail {

template <class... Lists>
struct Join;
template <class... Ops>
struct Join<Contract::op::List<Ops...>> {
    using Type = Contract::op::List<Ops...>;
};
template <class... First, class... Second, class... Rest>
struct Join<Contract::op::List<First...>, Contract::op::List<Second...>, Rest...> {
    using Type = typename Join<Contract::op::List<First..., Second...>, Rest...>::Type;
};

template <class... Ops>
constexpr std::uint16_t size(Contract::op::List<Ops...>) {
    return static_cast<std::uint16_t>(sizeof...(Ops));
}

template <class Op, class... Ops>
constexpr std::uint16_t position(Contract::op::List<Ops...>) {
    unsigned place = 0;
    bool found = false;
    ((found = found || std::is_same_v<Op, Ops>, place += found ? 0U : 1U), ...);
    return static_cast<std::uint16_t>(place);
}

}  // namespace detail

/// All operators, in the order of their codes.
using Operators = detail::Join<Contract::op::AmountUnaries, Contract::op::AmountBinaries,
                               Contract::op::Comparisons, Contract::op::EventUnaries,
                               Contract::op::EventBinaries>::Type;

/// The code of an operator.
template <class Op>
constexpr Code code_of() {
    return static_cast<Code>(static_cast<std::uint16_t>(Code::first_operator) +
                             detail::position<Op>(Operators{}));
}

/// The code of the adjoint of an operand, from that of the result (a), and the operands (b, c).
template <class Op>
constexpr Code back_code_of() {
    return static_cast<Code>(static_cast<std::uint16_t>(Code::first_operator) +
                             detail::size(Operators{}) +
                             detail::position<Op>(Contract::op::AmountUnaries{}));
}
template <class Op, bool is_left>
constexpr Code back_code_of() {
    using namespace Contract::op;
    return static_cast<Code>(static_cast<std::uint16_t>(Code::first_operator) +
                             detail::size(Operators{}) + detail::size(AmountUnaries{}) +
                             (is_left ? 0 : detail::size(AmountBinaries{})) +
                             detail::position<Op>(AmountBinaries{}));
}

/// A contract as instructions. The columns that they name stand in the order of the lists here:
/// constants, inputs, cells, registers.
struct Program {
    /// A number that is the same on all paths of a run, and may differ from run to run.
    struct Input {
        double const* place{nullptr};  ///< of a named constant of the tree, or null
        short payment_rank{-1};        ///< or the discount factor of this payment
        /// The adjoint of the result, which differs from path to path: 0 behind the last one.
        [[nodiscard]] bool c_is_seed() const { return place == nullptr && payment_rank < 0; }
    };
    /// A level, or its quotient with a number: what the program reads.
    struct Cell {
        short fixing_rank;
        short underlying_rank;
        double divisor{1.0};
    };

    std::vector<Instruction> prologue;  ///< what no input moves; run once for a block of paths
    std::vector<Instruction> body;
    std::vector<std::uint32_t> operands;  ///< of `sort`
    std::vector<double> constants;        ///< truth values by their bits
    std::vector<Input> inputs;
    std::vector<Cell> cells;
    std::uint32_t nb_registers{0};
    std::uint32_t result{0};  ///< the column of the discounted value
    /// [cell]: the columns of the derivatives of the result by them, times the seed; `no_column`
    /// where there is none. Empty in a program without adjoints.
    std::vector<std::uint32_t> cell_adjoints;

    static constexpr std::uint32_t no_column = static_cast<std::uint32_t>(-1);

    [[nodiscard]] std::uint32_t c_get_first_input() const {
        return static_cast<std::uint32_t>(constants.size());
    }
    [[nodiscard]] std::uint32_t c_get_first_cell() const {
        return c_get_first_input() + static_cast<std::uint32_t>(inputs.size());
    }
    [[nodiscard]] std::uint32_t c_get_first_register() const {
        return c_get_first_cell() + static_cast<std::uint32_t>(cells.size());
    }
    [[nodiscard]] std::uint32_t c_get_nb_columns() const {
        return c_get_first_register() + nb_registers;
    }
};

/// What `Kernels::run` walks: the instructions up to `Code::end`, and the operand lists of `sort`.
struct Listing {
    Instruction const* instructions;
    std::uint32_t const* operands;
    double* const* columns;
};

}  // namespace ximCORE::Pricing::Block
