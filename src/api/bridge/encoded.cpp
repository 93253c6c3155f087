#include "api/bridge/encoded.hpp"

#include "dsl/encoded.hpp"

namespace ximAPI::Toolkit {

ximCORE::Contract::EncodedTree to_tree(ximDSL::Encoded const& encoded) {
    ximCORE::Contract::EncodedTree tree{.root = encoded.root,
                                        .amounts = encoded.amounts,
                                        .events = encoded.events,
                                        .cashflows = encoded.cashflows,
                                        .nodes = {}};
    tree.nodes.reserve(encoded.items.size());
    for (auto const& item : encoded.items) {
        tree.nodes.push_back(
            {.tag = item.tag, .id = item.id, .op = item.op, .payload = item.payload.str()});
    }
    return tree;
}

}  // namespace ximAPI::Toolkit
