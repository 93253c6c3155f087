// From the encoded form of a contract to its runtime tree: each node is made by its code with the
// numbers of its children, then the numbers are wired to pointers. An encoded form can come from a
// file: everything in it is checked.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/contract/observable.hpp"

namespace ximCORE::Contract {

class Amount;
class CashFlow;
class Event;

/// One node: its family ('a' amount, 'e' event, 'c' cash flow, 'o' observation), its number in the
/// family, the code of its operation, and its fields separated by commas.
struct EncodedNode {
    char tag;
    int id;
    int op;
    std::string payload;
};

/// Nodes in any order; the counts are those of the three families.
struct EncodedTree {
    int root{0};
    std::uint64_t amounts{0};
    std::uint64_t events{0};
    std::uint64_t cashflows{0};
    std::vector<EncodedNode> nodes;
};

/// Trees beyond these are refused: the depth counts every node above but the members of a list
/// joined by "&", and a node with several parents counts once for each.
inline constexpr std::uint64_t c_max_depth = 10'000;
inline constexpr std::uint64_t c_max_nodes = 1'000'000;

/// The tree under the root's number. False, with `root` as it was, after an ERROR record: "Contract
/// empty" without cash flows, "Cannot read contract" for numbers outside their family, missing or
/// doubled nodes, unknown codes, counts that the nodes do not fill, a node that contains itself, a
/// rank outside its amounts, or a tree too deep or too large. A number or date that does not read
/// throws what `std::stoi`, `std::stod` or `Date` throw.
[[nodiscard]] bool reflect_contract(EncodedTree const& encoded, std::shared_ptr<CashFlow>& root);

/// The observations of a list, in the order of their numbers, with their amounts wired. False as
/// above ("Cannot read contract"); an empty list is true.
[[nodiscard]] bool reflect_observations(EncodedTree const& encoded,
                                        std::vector<Observable::Item>& items);

/// One node, its children still as numbers. An unknown code gives an empty pointer; the code is
/// taken as one byte.
std::shared_ptr<Amount> reflect_amount(unsigned long long op, std::string const& payload);
std::shared_ptr<Event> reflect_event(unsigned long long op, std::string const& payload);
std::shared_ptr<CashFlow> reflect_cashflow(unsigned long long op, std::string const& payload);

/// Date and amount number of one observation.
Observable::Item reflect_observable(std::string const& payload);

}  // namespace ximCORE::Contract
