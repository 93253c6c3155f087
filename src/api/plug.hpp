// Copies the fields of the configuration records into the settings of the core. Each call that
// prices writes all of them; the core only reads them. One call at a time owns them.
#pragma once

#include "ximAPI/configuration.hpp"

namespace ximAPI::Toolkit {

/// The four switches that let missing quotes take a default value.
void plug_data_parameters(Data const& data);

/// The intraday flags.
void plug_contract_parameters(Contract const& contract);

/// The calibration of the model. A tenor that does not read raises `ConstructorException` after an
/// ERROR record.
void plug_model_parameters(Model const& model);

/// Method, smoothing, simulation, greeks. Percent become fractions, bumps stay basis points.
void plug_pricing_parameters(Pricer const& pricer);

/// Whether the whole numbers of the record can be used. False after an ERROR record "Invalid " +
/// the key.
[[nodiscard]] bool check_pricing_parameters(Pricer const& pricer);
/// The same for the settings of the finite differences, once plugged and if they are the method.
[[nodiscard]] bool check_finite_difference_settings();

}  // namespace ximAPI::Toolkit
