// What a path fixes once for all when one tree is evaluated several times on it with other values
// of its named constants.
#pragma once

#include <cstdint>
#include <set>
#include <string>

namespace ximCORE::Contract {

class CashFlow;

/// Makes each largest amount below `root` keep its value as long as the number `path` stays: every
/// operation on fixings and constants alone, without a constant named in `changing` and without a
/// reference to a name set on the way. The walk of a path is then paid for once, however often the
/// tree is evaluated. The values are the same to the last bit. `root`: a tree that nothing else
/// holds and that is only evaluated on paths from here on. `path`: outlives the tree and changes
/// with every new path; it starts above 0.
void keep_path_constants(CashFlow& root, std::set<std::string> const& changing,
                         std::uint64_t const& path);

}  // namespace ximCORE::Contract
