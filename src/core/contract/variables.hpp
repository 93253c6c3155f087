// The named values of one path: what `Set` writes and a reference reads. Slots by rank, so that a
// path looks nothing up by text; `CashFlow::rank_names` gives the ranks.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ximCORE::Contract {

/// One slot for each name, each absent until the path writes or reads it. A worker owns one, and
/// every smoothed condition two working copies. Per trial: no allocation. A rank without slot
/// raises `SegmentationFaultException`.
class Variables {
 public:
    /// All absent. `names`: as `CashFlow::rank_names` returns them, so that the rank of a name is
    /// its position.
    explicit Variables(std::vector<std::string> names = {});
    Variables(Variables const&) = default;
    Variables(Variables&&) = default;
    /// Between equal layouts no allocation.
    Variables& operator=(Variables const& other);
    Variables& operator=(Variables&&) = default;
    ~Variables() = default;

    /// Makes all absent, without deallocation. The engine does so before each walk of the tree.
    void clear();

    /// Relied on: a name read before it was written becomes present with the value 0.
    double read(short rank) {
        auto& slot = get(rank);
        slot.present = true;
        return slot.value;
    }
    void write(short rank, double value) { get(rank) = {value, true}; }

    /// Null when the name is unknown or absent. Valid until the next change. By text: not for a
    /// path loop.
    double const* c_find(std::string_view name) const;

 private:
    /// An absent slot holds 0.
    struct Slot {
        double value{0.0};
        bool present{false};
    };

    Slot& get(short rank) {
        auto const index = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(rank));
        if (index >= m_slots.size()) [[unlikely]]
            raise_unknown_rank();
        return m_slots[index];
    }
    [[noreturn]] static void raise_unknown_rank();

    std::shared_ptr<std::vector<std::string> const> m_names;  ///< shared by all copies
    std::vector<Slot> m_slots;
};

}  // namespace ximCORE::Contract
