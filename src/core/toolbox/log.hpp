// The log of the process: any code of the core adds to it without being handed a log, and the
// request frame moves what was gathered to the caller of the moment. Unguarded: one call at a time.
// A worker thread collects its records with a `Log::Collector`, and its starter appends them after
// the join.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace ximCORE::Toolbox {

class Log {
 public:
    /// Same values and order as the level of the records that callers receive.
    enum class Level : std::uint8_t { INFO, WARNING, ERROR, EXCEPTION, SUCCESS, FAILURE };

    struct Entry {
        Level level;
        std::string text;
    };

    /// The records of the process, in the order they were added (those of the collector inside its
    /// scope and thread).
    static std::vector<Entry>& s_get();

    /// Adds one record, whose text is the stream's content, and returns all records.
    static std::vector<Entry>& s_add(Level level, std::stringstream const& stream);

    /// Adds one record, whose text is the parts streamed one after the other.
    template <class... Parts>
    static void s_log(Level level, Parts const&... parts) {
        std::stringstream stream;
        (stream << ... << parts);
        s_add(level, stream);
    }

    /// Adds records gathered elsewhere (by a worker's collector), in their order.
    static void s_append(std::vector<Entry> const& entries);

    /// While it lives, records of the thread that made it go to `entries` instead of the process'
    /// log, as long as these are fewer than `limit`; later ones are dropped. `entries` belongs to
    /// the caller and outlives the collector. Collectors of one thread nest.
    class Collector {
     public:
        explicit Collector(std::vector<Entry>& entries,
                           std::size_t limit = std::numeric_limits<std::size_t>::max());
        Collector(Collector const&) = delete;
        Collector& operator=(Collector const&) = delete;
        ~Collector();

     private:
        std::vector<Entry>* m_outer;
        std::size_t m_outer_limit;
    };
};

}  // namespace ximCORE::Toolbox
