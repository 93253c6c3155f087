// The models: which market data a pricing needs and which helper carries out a numerical method. A
// model holds no market data; it declares them to the cache, and the helpers read them.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/toolbox/date.hpp"

namespace ximCORE::Contract {
class Contract;
}

namespace ximCORE::Data {
class Currency;
class Underlying;
}  // namespace ximCORE::Data

namespace ximCORE::Modeling {

class MCHelper;
class PDEHelper;

/// In the order of the request's texts.
enum class ModelName : std::uint8_t {
    default_model,
    black_scholes,
    black_scholes_term_structure,
    heston,
    dupire,
    free
};

/// A plain model: forward curves and yield curves, no helper.
class Model {
 public:
    explicit Model(Toolbox::Date const& calibration_date, std::string name = "default");
    virtual ~Model();
    Model(Model const&) = delete;
    Model& operator=(Model const&) = delete;

    [[nodiscard]] std::string const& c_get_name() const { return m_name; }
    /// The date of the market that the model is calibrated to.
    [[nodiscard]] Toolbox::Date const& c_get_calibration_date() const { return m_calibration_date; }

    /// Declares to the cache all market data for the underlyings and currencies of the contract.
    /// Reads no value and reports nothing missing. False while an underlying is not known well
    /// enough to declare what it needs: a fetch and a second call follow.
    [[nodiscard]] bool get_dependencies(Contract::Contract& contract);
    /// The same for given lists.
    [[nodiscard]] virtual bool get_dependencies(std::vector<Data::Underlying*> const& underlyings,
                                                std::vector<Data::Currency*> const& currencies);

    /// The helper for simulations, made on the first call and owned by the model; null for a model
    /// without one.
    [[nodiscard]] MCHelper* safe_new_MC_helper();
    /// Deletes the helper, if there is one: the next safe_new_MC_helper makes a fresh one.
    void safe_delete_MC_helper();
    /// The same for the helper for finite differences.
    [[nodiscard]] PDEHelper* safe_new_PDE_helper();
    void safe_delete_PDE_helper();

 protected:
    [[nodiscard]] virtual std::unique_ptr<MCHelper> _new_MC_helper();
    [[nodiscard]] virtual std::unique_ptr<PDEHelper> _new_PDE_helper();

 private:
    Toolbox::Date m_calibration_date;
    std::string m_name;
    std::unique_ptr<MCHelper> m_mc_helper;
    std::unique_ptr<PDEHelper> m_pde_helper;
};

/// Forward curves, yield curves and volatility surfaces without any correlation or helper.
class FreeModel final : public Model {
 public:
    explicit FreeModel(Toolbox::Date const& calibration_date);
    using Model::get_dependencies;
    [[nodiscard]] bool get_dependencies(std::vector<Data::Underlying*> const& underlyings,
                                        std::vector<Data::Currency*> const& currencies) override;
};

/// A new model; null for a name without one (`heston`, which exists as a smile pricer only) and for
/// unknown values.
[[nodiscard]] std::unique_ptr<Model> get_model(Toolbox::Date const& calibration_date,
                                               ModelName name);

}  // namespace ximCORE::Modeling
