// The model's helper of the pricing method in the settings: what a ladder sets before its engine
// runs.

#pragma once

namespace ximCORE::Modeling {
class Helper;
class Model;
}  // namespace ximCORE::Modeling

namespace ximCORE::Pricing {

/// Made on the first call, owned by the model. Null for a null model, for a method without a helper
/// and for a model without the method's helper.
[[nodiscard]] Modeling::Helper* safe_new_method_helper(Modeling::Model* model);
/// Deletes it, if there is one.
void safe_delete_method_helper(Modeling::Model* model);

}  // namespace ximCORE::Pricing
