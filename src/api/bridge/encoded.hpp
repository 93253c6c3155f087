// Hands an encoded form from the authoring side to the runtime side, which know nothing of each
// other.
#pragma once

#include "core/contract/reflection.hpp"

namespace ximDSL {
struct Encoded;
}

namespace ximAPI::Toolkit {

/// The same items in the shape that the runtime reads.
ximCORE::Contract::EncodedTree to_tree(ximDSL::Encoded const& encoded);

}  // namespace ximAPI::Toolkit
