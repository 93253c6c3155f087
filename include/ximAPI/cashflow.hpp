// What a contract is to the library: an object that builds an encoded contract. The three direct
// forms are a tree made with the functions of ximAPI/dsl.hpp, a script, and a file; the ready
// products stand in ximAPI/products.
#pragma once

#include <memory>
#include <string>

#include "ximAPI/dsl.hpp"
#include "ximAPI/export.hpp"

namespace ximDSL {
struct Encoded;
}

namespace ximAPI {

/// Any form of contract. The object owns its encoded form and drops it at the next `build`.
class XIM_EXPORT ICashFlow {
 public:
    ICashFlow();
    ICashFlow(ICashFlow const&) = delete;
    ICashFlow& operator=(ICashFlow const&) = delete;
    virtual ~ICashFlow();

    /// Makes `encoded` anew. False, with `encoded` empty, if these terms make no contract; an ERROR
    /// record tells why, except for a script, whose rejection is silent (see ximAPI/diagnosis.hpp).
    [[nodiscard]] virtual bool build() = 0;

    std::unique_ptr<ximDSL::Encoded> encoded;

 protected:
    /// Encodes the contract `root`: what the `build` of every product ends with. False after an
    /// ERROR record "Contract empty" if `root` is empty.
    [[nodiscard]] bool encode(ximDSL::CashFlowPtr const& root);

    /// Ends a `build` without a contract: an ERROR record with this text. Always false.
    [[nodiscard]] bool refuse(std::string const& reason);
};

/// A contract made with the functions of ximAPI/dsl.hpp. It builds once: encoding uses the tree up.
class XIM_EXPORT CashFlow final : public ICashFlow {
 public:
    explicit CashFlow(ximDSL::CashFlowPtr root = {});
    ~CashFlow() override;
    [[nodiscard]] bool build() override;

    ximDSL::CashFlowPtr root;
};

/// A contract in a file of encoded text, as `ximDSL::Save` writes it.
class XIM_EXPORT File final : public ICashFlow {
 public:
    explicit File(std::string file = {});
    ~File() override;

    /// False after "Cannot find file" and the path, if the file cannot be opened. What the file
    /// holds is checked only when the contract is read from it.
    [[nodiscard]] bool build() override;

    std::string file;
};

/// A contract written in the script language (docs/script-language.md).
class XIM_EXPORT Console final : public ICashFlow {
 public:
    explicit Console(std::string script = {});
    ~Console() override;

    /// False, silently, if the script is no contract. Raises `std::invalid_argument` or
    /// `std::out_of_range`, both with the text "stof", where a number is expected and none stands
    /// or it does not fit.
    [[nodiscard]] bool build() override;

    std::string script;
};

}  // namespace ximAPI
