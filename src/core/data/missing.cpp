#include "core/data/missing.hpp"

#include <stdexcept>

namespace ximCORE::Data {

bool is_reported(Level level) {
    switch (level) {
        case Level::silent:
            return false;
        case Level::warning:
        case Level::error:
            return true;
    }
    throw std::runtime_error("Unknown error");
}

Toolbox::Log::Level log_level(Level level) {
    return level == Level::warning ? Toolbox::Log::Level::WARNING : Toolbox::Log::Level::ERROR;
}

}  // namespace ximCORE::Data
