// Series of observed values, JSON member "Data"."Observable".
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ximAPI/enums.hpp"
#include "ximAPI/observable.hpp"

namespace ximAPI {

/// One point of a series.
struct Observable {
    std::string Date;
    float Epoch{};  ///< seconds since 1970-01-01
    float Value{};  ///< 0 when not available
    bool Status{};  ///< the value is available
};

/// One series. The record owns what is observed; the keys of that object stand at the same level of
/// the JSON object.
struct Observation {
    std::vector<Observable> TimeSeries;
    ObservableKind Kind{};
    std::unique_ptr<IObservable> Object;  ///< from JSON always a `BasketObservable`
};

struct DataResults {
    std::vector<Observation> Observations;
    std::vector<std::string> Schedule;  ///< dates on which all observations are made
};

}  // namespace ximAPI
