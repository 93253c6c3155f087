// The encoded form of a contract: a flat list of items, each naming its children by number. It is
// the one crossing from the description of a contract to what is priced, and the text of a contract
// file.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <sstream>
#include <string>
#include <vector>

#include "ximAPI/dsl.hpp"

namespace ximDSL {

/// One node. The payload holds its fields, separated by single commas; a number is written with six
/// significant digits, a child as its number within its family.
struct ItemEncoded {
    ItemEncoded(char tag, int id, int op);

    char tag;  ///< family: 'a' amount, 'e' event, 'c' cash flow, 'o' observation
    int id;    ///< number within the family, from 0
    int op;    ///< operation code of the family
    std::stringstream payload;
};

/// A contract, or a list of observations (whose `root` and `cashflows` are 0). The order of the
/// items carries no meaning.
struct Encoded {
    int root{};
    std::uint64_t amounts{};
    std::uint64_t events{};
    std::uint64_t cashflows{};
    std::vector<ItemEncoded> items;
    std::string text_with_comma;  ///< the first text that would read as more than one field, if any
};

/// Encodes a list of observations: item "o" number i is the date and the amount of the i-th one.
/// False if an amount is missing or a text holds a comma; `encoded` is then of no use.
[[nodiscard]] bool encode(std::vector<Observation> const& observations, Encoded& encoded);

/// The text of a contract file: a header line with root and counts, then a line per item with tag,
/// id, code, payload.
class Toolkit {
 public:
    static void serialize(Encoded const& encoded, std::ostream& out);

    /// Adds what can be read; stops silently at the first thing that does not fit. Nothing is
    /// checked against the counts.
    static void deserialize(std::istream& in, Encoded& encoded);
};

}  // namespace ximDSL
