// A dated number that a source gives once: the common part of spots, volatilities and correlations.

#pragma once

#include "core/data/item.hpp"
#include "core/data/level.hpp"
#include "core/toolbox/date.hpp"

namespace ximCORE::Data {

class MarketDataQuote : public MarketDataPerturbableItem {
 public:
    explicit MarketDataQuote(Toolbox::Date const& date) : m_date(date) {}

    [[nodiscard]] bool c_is_set() const override { return m_has_val; }
    void _build_internal() override {}

    Toolbox::Date const& c_get_date() const { return m_date; }
    /// The stored number, without shifts.
    double c_get_val() const { return m_val; }
    /// Keeps single precision; does nothing once there is a value.
    void set_val(float val) { set_once(static_cast<double>(val)); }

    /// True when the value is known; may take the class's default. Otherwise false, after a record
    /// of the level.
    [[nodiscard]] virtual bool c_has_val(Level level) = 0;

    /// The value after the shifts of the scenario; false, with `out` untouched, when it is missing.
    [[nodiscard]] bool eval(double& out, Level level);

 protected:
    void set_once(double val) {
        if (m_has_val) return;
        m_val = val;
        m_has_val = true;
    }

 private:
    Toolbox::Date m_date;
    double m_val = 0.0;
    bool m_has_val = false;
};

}  // namespace ximCORE::Data
