// The decomposition of a contract with one payment date and one fixing into a zero coupon, puts and
// calls.

#pragma once

#include "core/pricing/pricer.hpp"
#include "core/pricing/static_replication.hpp"

namespace ximCORE::Pricing {

/// A contract without any fixing is the zero coupon of its payment date alone, without levels, in
/// the currency of that payment.
class CFDetails final : public IPricer {
 public:
    /// False, after an ERROR record, for a contract of another kind and as
    /// `StaticReplication1D::compute_carr_madan_price`. `model` is not looked at.
    [[nodiscard]] bool run_internal(Contract::Contract& contract, Modeling::Model* model) override;

    [[nodiscard]] StaticReplication1D::Results const& c_get_results() const { return m_results; }

 private:
    StaticReplication1D::Results m_results;
};

}  // namespace ximCORE::Pricing
