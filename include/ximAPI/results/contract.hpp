// The report on a contract, JSON member "Contract".
#pragma once

#include <string>
#include <vector>

#include "ximAPI/enums.hpp"
#include "ximAPI/events.hpp"

namespace ximAPI {

struct Underlying {
    std::string Ticker;
    std::string CompleteName;
    std::string QuoteCurrency;
    float LastQuote{};  ///< in `QuoteCurrency`, at the contract's date
    bool HasLastQuote{};
    bool IsQuanto{};                  ///< paid in another currency without conversion
    bool IsInBasket{};                ///< the contract observes it, not only a conversion
    ximAPI::AssetClass AssetClass{};  ///< written, never read from JSON
    ximAPI::AssetKind AssetKind{};
};

/// An observation of the contract. In a request, an entry with `Edit` puts its quote in the place
/// of the market's.
struct Fixing {
    std::string Date;
    std::string QuoteCurrency;
    std::string Ticker;
    float Quote{};  ///< in `QuoteCurrency`
    bool HasQuote{};
    bool Edit{};    ///< in: use `Quote`
    bool IsPast{};  ///< the observation lies behind the contract's date
};

struct Correlation {
    float Value{};  ///< percent
    bool HasValue{};
};

/// `Data[i][j]` is the correlation of the tickers `Rows[i]` and `Cols[j]`.
struct CorrelationMatrix {
    std::vector<std::string> Rows;
    std::vector<std::string> Cols;
    std::vector<std::vector<Correlation>> Data;
};

/// The report. The five flags choose its parts and have no JSON form: a request asks for all five.
struct ContractResults {
    bool WithScript{};
    bool WithUnderlyings{};
    bool WithFixings{};
    bool WithCorrelation{};
    bool WithEvents{};
    std::string Script;  ///< the contract as a script, wrapped at 180 columns
    std::vector<Underlying> Underlyings;
    std::vector<Fixing> Fixings;
    ximAPI::CorrelationMatrix CorrelationMatrix;
    std::vector<Event> Events;  ///< written, never read from JSON
};

}  // namespace ximAPI
