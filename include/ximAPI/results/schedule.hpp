// A list of dates at regular distance, JSON member "Schedule".
#pragma once

#include <string>
#include <vector>

#include "ximAPI/enums.hpp"

namespace ximAPI {

struct ScheduleResults {
    ximAPI::Calendar Calendar{};     ///< in
    std::vector<std::string> Dates;  ///< out; at most 65535
    std::string DateShift;           ///< in: the distance, like "+3m"
    std::string EndDate;             ///< in
    std::string StartDate;           ///< in
};

}  // namespace ximAPI
