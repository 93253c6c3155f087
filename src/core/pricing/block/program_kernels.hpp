// The instructions of a program on vectors, for kernel files: one loop over the lanes for each.

#pragma once

#include "core/pricing/block/elementary.hpp"
#include "core/pricing/block/program.hpp"

namespace ximCORE::Contract::op {

/// The functions that have no vector form run lane by lane.
template <>
struct Functions<Pricing::Block::Reals> {
    using Reals = Pricing::Block::Reals;

    static Reals abs(Reals x) { return x < 0.0 ? -x : x + 0.0; }
    static Reals cos(Reals x) {
        return each(x, [](double v) { return __builtin_cos(v); });
    }
    static Reals div(Reals x, Reals y) { return Pricing::Block::divide(x, y); }
    static Reals exp(Reals x) { return Pricing::Block::exponential(x); }
    static Reals log(Reals x) { return Pricing::Block::logarithm(x); }
    static Reals max(Reals x, Reals y) { return Pricing::Block::greatest(x, y); }
    static Reals min(Reals x, Reals y) { return Pricing::Block::least(x, y); }
    static Reals pow(Reals x, Reals y) {
        for (std::size_t i = 0; i < Pricing::Block::c_width; ++i) x[i] = __builtin_pow(x[i], y[i]);
        return x;
    }
    static Reals sin(Reals x) {
        return each(x, [](double v) { return __builtin_sin(v); });
    }
    static Reals sqrt(Reals x) { return Pricing::Block::square_root(x); }
    static Reals tan(Reals x) {
        return each(x, [](double v) { return __builtin_tan(v); });
    }

 private:
    static Reals each(Reals x, auto&& function) {
        for (std::size_t i = 0; i < Pricing::Block::c_width; ++i) x[i] = function(x[i]);
        return x;
    }
};

}  // namespace ximCORE::Contract::op

namespace ximCORE::Pricing::Block {
namespace {

/// Runs one instruction and answers the next.
using Handler = Instruction const* (*)(Instruction const*, Listing const&);

/// Calls step(lane) for the first lane of each vector.
void each_vector(auto&& step) {
    for (std::size_t lane = 0; lane < lanes; lane += c_width) step(lane);
}

Instruction const* end(Instruction const*, Listing const&) {
    return nullptr;
}

Instruction const* skip(Instruction const* i, Listing const& listing) {
    double const* const mask = listing.columns[i->a];
    Masks any{};
    each_vector([&](std::size_t lane) { any |= load_mask(mask + lane); });
    return is_none(any) ? listing.instructions + i->to : i + 1;
}

Instruction const* copy(Instruction const* i, Listing const& listing) {
    double const* const a = listing.columns[i->a];
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) { store(to + lane, load(a + lane)); });
    return i + 1;
}

Instruction const* put(Instruction const* i, Listing const& listing) {
    double const* const a = listing.columns[i->a];
    double const* const b = listing.columns[i->b];
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) {
        store(to + lane, load_mask(b + lane) ? load(a + lane) : load(to + lane));
    });
    return i + 1;
}

Instruction const* add_to(Instruction const* i, Listing const& listing) {
    double const* const a = listing.columns[i->a];
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) { store(to + lane, load(to + lane) + load(a + lane)); });
    return i + 1;
}

Instruction const* add_where(Instruction const* i, Listing const& listing) {
    double const* const a = listing.columns[i->a];
    double const* const b = listing.columns[i->b];
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) {
        Reals const before = load(to + lane);
        store(to + lane, load_mask(b + lane) ? before + load(a + lane) : before);
    });
    return i + 1;
}

Instruction const* except(Instruction const* i, Listing const& listing) {
    double const* const a = listing.columns[i->a];
    double const* const b = listing.columns[i->b];
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) {
        store_mask(to + lane, load_mask(a + lane) & ~load_mask(b + lane));
    });
    return i + 1;
}

Instruction const* choose(Instruction const* i, Listing const& listing) {
    double const* const a = listing.columns[i->a];
    double const* const b = listing.columns[i->b];
    double const* const c = listing.columns[i->c];
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) {
        store(to + lane, load_mask(a + lane) ? load(b + lane) : load(c + lane));
    });
    return i + 1;
}

/// b + p (a - b), where p is the weight c for a positive gap a - b and the weight d for a negative
/// one. Weights that are no number count only where there is a gap.
Instruction const* mix(Instruction const* i, Listing const& listing) {
    double const* const a = listing.columns[i->a];
    double const* const b = listing.columns[i->b];
    double const* const c = listing.columns[i->c];
    double const* const d = listing.columns[i->d];
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) {
        Reals const then = load(a + lane);
        Reals const otherwise = load(b + lane);
        Reals const rising = load(c + lane);
        Reals const falling = load(d + lane);
        Reals const gap = then - otherwise;
        Reals const gain = gap < 0.0 ? Reals{} : gap;
        Reals const loss = gap > 0.0 ? Reals{} : gap;
        Reals const mixed = rising * gain + falling * loss + otherwise;
        Reals const weights = rising + falling;
        Masks const is_plain = (weights != weights) & (then == otherwise);
        store(to + lane, is_plain ? otherwise : mixed);
    });
    return i + 1;
}

/// Rounds of a selection sort, the smallest first; NaN counts as the largest.
Instruction const* sort(Instruction const* i, Listing const& listing) {
    std::uint32_t const* const operands = listing.operands + i->a;
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) {
        Reals values[sort_limit];
        for (std::uint32_t k = 0; k < i->b; ++k)
            values[k] = load(listing.columns[operands[k]] + lane);
        for (std::uint32_t round = 0; round <= i->c; ++round)
            for (std::uint32_t k = round + 1; k < i->b; ++k) {
                Reals const x = values[round];
                Reals const y = values[k];
                Masks const is_behind = (y < x) | ((x != x) & (y == y));
                values[round] = is_behind ? y : x;
                values[k] = is_behind ? x : y;
            }
        store(to + lane, values[i->c]);
    });
    return i + 1;
}

/// What is no number counts as equal to itself.
Instruction const* sort_back(Instruction const* i, Listing const& listing) {
    std::uint32_t const* const operands = listing.operands + i->a;
    double const* const result = listing.columns[operands[i->b]];
    double const* const adjoint = listing.columns[operands[i->b + 1]];
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) {
        Reals const chosen = load(result + lane);
        auto const is_chosen = [&](std::uint32_t k) {
            Reals const x = load(listing.columns[operands[k]] + lane);
            return (x == chosen) | ((x != x) & (chosen != chosen));
        };
        Masks is_own = is_chosen(i->c);
        for (std::uint32_t k = 0; k < i->c; ++k) is_own &= ~is_chosen(k);
        store(to + lane, is_own ? load(adjoint + lane) : Reals{});
    });
    return i + 1;
}

/// A zero adjoint hands on zeros, however steep the operator is there.
template <class Op>
Instruction const* back_unary(Instruction const* i, Listing const& listing) {
    double const* const adjoint = listing.columns[i->a];
    double const* const x = listing.columns[i->b];
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) {
        Reals const a = load(adjoint + lane);
        if constexpr (Contract::op::Linear<Op>)
            store(to + lane, Op::back(a));
        else
            store(to + lane, a == 0.0 ? Reals{} : Op::back(a, load(x + lane)));
    });
    return i + 1;
}
template <class Op, bool is_left>
Instruction const* back_binary(Instruction const* i, Listing const& listing) {
    double const* const adjoint = listing.columns[i->a];
    double const* const x = listing.columns[i->b];
    double const* const y = listing.columns[i->c];
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) {
        Reals const a = load(adjoint + lane);
        Contract::op::AdjointsOf<Reals> adjoints;
        if constexpr (Contract::op::Linear<Op>)
            adjoints = Op::back(a);
        else
            adjoints = Op::back(a, load(x + lane), load(y + lane));
        store(to + lane, a == 0.0 ? Reals{} : is_left ? adjoints.left : adjoints.right);
    });
    return i + 1;
}

/// Reads the operands with `read`, writes the result with `write`.
template <class Op, std::size_t nb_operands, auto read, auto write>
Instruction const* apply(Instruction const* i, Listing const& listing) {
    double const* const a = listing.columns[i->a];
    double const* const b = listing.columns[nb_operands == 2 ? i->b : i->a];
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) {
        if constexpr (nb_operands == 2)
            write(to + lane, Op::value(read(a + lane), read(b + lane)));
        else
            write(to + lane, Op::value(read(a + lane)));
    });
    return i + 1;
}

template <class Op>
Instruction const* amount_unary(Instruction const* i, Listing const& listing) {
    return apply<Op, 1, load, store>(i, listing);
}
template <class Op>
Instruction const* amount_binary(Instruction const* i, Listing const& listing) {
    return apply<Op, 2, load, store>(i, listing);
}
/// x / y for a constant y: a product with its reciprocal, corrected by the remainder, which rounds
/// as the division does (P. Markstein, 1990).
#if defined(__FMA__)
template <>
Instruction const* amount_binary<Contract::op::Div>(Instruction const* i, Listing const& listing) {
    if (i->c == 0) return apply<Contract::op::Div, 2, load, store>(i, listing);
    double const* const x = listing.columns[i->a];
    Reals const y = spread(*listing.columns[i->b]);
    Reals const reciprocal = spread(*listing.columns[i->c]);
    double* const to = listing.columns[i->to];
    each_vector([&](std::size_t lane) {
        Reals const numerator = load(x + lane);
        Reals const rough = numerator * reciprocal;
        Reals const rest = multiply_add(-y, rough, numerator);
        Reals const quotient = multiply_add(rest, reciprocal, rough);
        // a zero keeps its sign, and infinity has no remainder
        Masks const is_rounded = (rest != 0.0) & (quotient == quotient);
        store(to + lane, is_rounded ? quotient : rough);
    });
    return i + 1;
}
#endif

template <class Op>
Instruction const* comparison(Instruction const* i, Listing const& listing) {
    return apply<Op, 2, load, store_mask>(i, listing);
}
template <class Op>
Instruction const* event_unary(Instruction const* i, Listing const& listing) {
    return apply<Op, 1, load_mask, store_mask>(i, listing);
}
template <class Op>
Instruction const* event_binary(Instruction const* i, Listing const& listing) {
    return apply<Op, 2, load_mask, store_mask>(i, listing);
}

template <class AmountUnaries, class AmountBinaries, class Comparisons, class EventUnaries,
          class EventBinaries>
struct Handlers;
template <class... AU, class... AB, class... C, class... EU, class... EB>
struct Handlers<Contract::op::List<AU...>, Contract::op::List<AB...>, Contract::op::List<C...>,
                Contract::op::List<EU...>, Contract::op::List<EB...>> {
    /// In the order of the codes.
    static constexpr Handler table[] = {end,
                                        skip,
                                        copy,
                                        put,
                                        add_to,
                                        add_where,
                                        except,
                                        choose,
                                        mix,
                                        sort,
                                        sort_back,
                                        amount_unary<AU>...,
                                        amount_binary<AB>...,
                                        comparison<C>...,
                                        event_unary<EU>...,
                                        event_binary<EB>...,
                                        back_unary<AU>...,
                                        back_binary<AB, true>...,
                                        back_binary<AB, false>...};
};

void run(Listing const& listing) {
    using All = Handlers<Contract::op::AmountUnaries, Contract::op::AmountBinaries,
                         Contract::op::Comparisons, Contract::op::EventUnaries,
                         Contract::op::EventBinaries>;
    Instruction const* i = listing.instructions;
    while (i != nullptr) i = All::table[static_cast<std::size_t>(i->code)](i, listing);
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
