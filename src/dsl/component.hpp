// The base of amounts and events: what an expression of a script can be.
#pragma once

#include "dsl/node.hpp"

namespace ximDSL {

class Component : public Node {};

}  // namespace ximDSL
