// One currency: the key of yield curves and of currency pairs.

#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "core/data/item.hpp"
#include "core/data/level.hpp"
#include "core/data/missing.hpp"
#include "core/toolbox/basis.hpp"
#include "core/toolbox/calendar.hpp"

namespace ximCORE::Data {

class Currency final : public MarketDataStaticItem {
 public:
    /// Defaults for fields that no source gives; all off.
    inline static bool s_set_at_default_calendar{false};
    inline static bool s_set_at_default_day_counter{false};
    inline static bool s_set_at_default_forward_rate_affinity_factor{false};

    /// Relied on: the default currency has an empty ticker that counts as known.
    Currency() : Currency(std::string(), true) {}
    Currency(std::string ticker, bool has_ticker) : m_ticker(std::move(ticker), has_ticker) {}

    std::shared_ptr<Currency> c_clone() const { return std::make_shared<Currency>(*this); }

    /// Ticker, name, calendar, day counter and affinity factor are all known.
    [[nodiscard]] bool c_is_set() const override;

    /// Byte-wise comparison of the tickers: below 0, 0 or above 0.
    int c_cmp(Currency const& other) const;
    bool operator==(Currency const& other) const { return c_cmp(other) == 0; }

    /// The ticker; valid as long as the currency lives.
    char const* c_str() const { return m_ticker.get().c_str(); }
    std::string const& c_get_ticker() const { return m_ticker.get(); }
    std::string const& c_get_name() const { return m_name.get(); }
    std::shared_ptr<Toolbox::Calendar::ICalendar const> const& c_get_calendar() const {
        return m_calendar.get();
    }
    Toolbox::DayCounter const& c_get_day_counter() const { return m_day_counter.get(); }
    /// Where forward rates between two pillars stop rising: 1 at the second pillar, 0 at the first.
    float c_get_forward_rate_affinity_factor() const {
        return m_forward_rate_affinity_factor.get();
    }

    /// Index of the currency among those of a contract.
    unsigned char const& c_get_rank() const { return m_rank; }
    void set_rank(unsigned char rank) { m_rank = rank; }

    /// True when the field is known. A missing field leaves a record of the level's severity and
    /// gives false; with the field's default switch on it takes its default, leaves a WARNING at
    /// every level and gives true.
    [[nodiscard]] bool c_has_ticker(Level level) const;
    [[nodiscard]] bool c_has_name(Level level) const;
    [[nodiscard]] bool c_has_calendar(Level level) const;
    [[nodiscard]] bool c_has_day_counter(Level level) const;
    [[nodiscard]] bool c_has_forward_rate_affinity_factor(Level level) const;

    /// The first value of a field wins. An empty text counts as absent, but for a name's; a
    /// calendar or day counter that does not resolve leaves the field missing.
    void set_ticker(std::string_view text) { m_ticker.set_text(text); }
    void set_name(std::string_view text) { m_name.set(std::string(text)); }
    void set_calendar(std::string_view text);
    void set_day_counter(std::string_view text);
    void set_forward_rate_affinity_factor(float factor) {
        m_forward_rate_affinity_factor.set(factor);
    }

 private:
    SetOnce<std::string> m_ticker;
    SetOnce<std::string> m_name;
    // The three defaults are filled in by the const look-ups.
    mutable SetOnce<std::shared_ptr<Toolbox::Calendar::ICalendar const>> m_calendar;
    mutable SetOnce<Toolbox::DayCounter> m_day_counter;
    mutable SetOnce<float> m_forward_rate_affinity_factor;
    unsigned char m_rank = 0;
};

}  // namespace ximCORE::Data
