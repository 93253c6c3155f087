// What a contract carries with it while it moves to a later date: the rules of the day itself,
// fixings given by the caller, and the values that names have taken so far.
#pragma once

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "core/toolbox/date.hpp"

namespace ximCORE::Data {
class Underlying;
}

namespace ximCORE::Contract {

/// Each true means that what falls on the valuation date itself is still open.
struct Intraday {
    bool IntradayFixings{false};
    bool IntradayPayments{false};
    bool IntradayChoices{false};
};

/// A fixing given by the caller (date, underlying, level): it wins over a stored spot, for a future
/// date too.
using FixingOverride = std::tuple<Toolbox::Date, Data::Underlying const*, double>;
using FixingOverrides = std::vector<FixingOverride>;

/// The values of names along one walk of `move`. A name whose next value hangs on an open condition
/// is open: a reference to it is not replaced until the walk sets the name again, while its last
/// known value is kept for what stands in front of the root.
class NamedValues {
 public:
    using Map = std::map<std::string, double>;

    /// The values that a reference may take now.
    Map const& c_get_known() const { return m_known; }
    /// Whether this walk is under an open condition, where a `Set` keeps its place.
    bool c_is_conditional() const { return m_conditional; }

    /// The name has this value from here on.
    void set(std::string const& name, double value);
    /// From here on the name's value is not known.
    void open(std::string const& name);

    /// A walk over the branches of an open condition: each begins with the values of now, and what
    /// one of them opens is open behind all of them. Nothing is copied, however deep conditions
    /// nest.
    class Branches {
     public:
        explicit Branches(NamedValues& values);
        Branches(Branches const&) = delete;
        Branches& operator=(Branches const&) = delete;
        ~Branches();

        /// Behind each branch: its names are known again for the next one.
        void end_branch();

     private:
        NamedValues& m_values;
        bool m_was_conditional;
        std::size_t m_first;  ///< of the journal
        std::vector<std::string> m_opened;
    };

    /// Known values and the last ones of open names.
    Map c_get_last() const;

 private:
    Map m_known;
    Map m_open;                          ///< last values of names that are open, and had one
    std::vector<std::string> m_journal;  ///< names opened under conditions, in their order
    bool m_conditional{false};
};

}  // namespace ximCORE::Contract
