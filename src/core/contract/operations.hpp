// The class of each operator.
#pragma once

#include "core/contract/amount_operations.hpp"
#include "core/contract/event_operations.hpp"

namespace ximCORE::Contract {

using AmountBinaryAddOperation = AmountBinaryNode<op::Add>;
using AmountBinaryDivOperation = AmountBinaryNode<op::Div>;
using AmountBinaryMaxOperation = AmountBinaryNode<op::Max>;
using AmountBinaryMinOperation = AmountBinaryNode<op::Min>;
using AmountBinaryMulOperation = AmountBinaryNode<op::Mul>;
using AmountBinarySubOperation = AmountBinaryNode<op::Sub>;

using AmountUnaryAbsOperation = AmountUnaryNode<op::Abs>;
using AmountUnaryCosOperation = AmountUnaryNode<op::Cos>;
using AmountUnaryExpOperation = AmountUnaryNode<op::Exp>;
using AmountUnaryLogOperation = AmountUnaryNode<op::Log>;
using AmountUnarySinOperation = AmountUnaryNode<op::Sin>;
using AmountUnarySqrtOperation = AmountUnaryNode<op::Sqrt>;
using AmountUnarySubOperation = AmountUnaryNode<op::Minus>;
using AmountUnaryTanOperation = AmountUnaryNode<op::Tan>;

using LeftAmountHybridAddOperation = AmountHybridNode<op::Add, Side::left>;
using LeftAmountHybridDivOperation = AmountHybridNode<op::Div, Side::left>;
using LeftAmountHybridMaxOperation = AmountHybridNode<op::Max, Side::left>;
using LeftAmountHybridMinOperation = AmountHybridNode<op::Min, Side::left>;
using LeftAmountHybridMulOperation = AmountHybridNode<op::Mul, Side::left>;
using LeftAmountHybridSubOperation = AmountHybridNode<op::Sub, Side::left>;

using RightAmountHybridAddOperation = AmountHybridNode<op::Add, Side::right>;
using RightAmountHybridDivOperation = AmountHybridNode<op::Div, Side::right>;
using RightAmountHybridMaxOperation = AmountHybridNode<op::Max, Side::right>;
using RightAmountHybridMinOperation = AmountHybridNode<op::Min, Side::right>;
using RightAmountHybridMulOperation = AmountHybridNode<op::Mul, Side::right>;
using RightAmountHybridPowOperation = AmountHybridNode<op::Pow, Side::right>;
using RightAmountHybridSubOperation = AmountHybridNode<op::Sub, Side::right>;

using EventUnaryNotOperation = EventUnaryNode<op::Not>;
using EventBinaryAndOperation = EventBinaryNode<op::And>;
using EventBinaryOrOperation = EventBinaryNode<op::Or>;

using EventAmountBinaryEqualOperation = EventAmountBinaryNode<op::Equal>;
using EventAmountBinaryGreaterOperation = EventAmountBinaryNode<op::Greater>;
using EventAmountBinaryGreaterOrEqualOperation = EventAmountBinaryNode<op::GreaterOrEqual>;
using EventAmountBinaryLowerOperation = EventAmountBinaryNode<op::Lower>;
using EventAmountBinaryLowerOrEqualOperation = EventAmountBinaryNode<op::LowerOrEqual>;
using EventAmountBinaryNotEqualOperation = EventAmountBinaryNode<op::NotEqual>;

using LeftEventAmountHybridEqualOperation = EventAmountHybridNode<op::Equal, Side::left>;
using LeftEventAmountHybridGreaterOperation = EventAmountHybridNode<op::Greater, Side::left>;
using LeftEventAmountHybridGreaterOrEqualOperation =
    EventAmountHybridNode<op::GreaterOrEqual, Side::left>;
using LeftEventAmountHybridLowerOperation = EventAmountHybridNode<op::Lower, Side::left>;
using LeftEventAmountHybridLowerOrEqualOperation =
    EventAmountHybridNode<op::LowerOrEqual, Side::left>;
using LeftEventAmountHybridNotEqualOperation = EventAmountHybridNode<op::NotEqual, Side::left>;

using RightEventAmountHybridEqualOperation = EventAmountHybridNode<op::Equal, Side::right>;
using RightEventAmountHybridGreaterOperation = EventAmountHybridNode<op::Greater, Side::right>;
using RightEventAmountHybridGreaterOrEqualOperation =
    EventAmountHybridNode<op::GreaterOrEqual, Side::right>;
using RightEventAmountHybridLowerOperation = EventAmountHybridNode<op::Lower, Side::right>;
using RightEventAmountHybridLowerOrEqualOperation =
    EventAmountHybridNode<op::LowerOrEqual, Side::right>;
using RightEventAmountHybridNotEqualOperation = EventAmountHybridNode<op::NotEqual, Side::right>;

}  // namespace ximCORE::Contract
