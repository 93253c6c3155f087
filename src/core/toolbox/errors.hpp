// The two exceptions of the toolbox. A refused construction says its reason in the log first; an
// index outside a container stops the computation, and the request frame turns it into a record.
#pragma once

#include <exception>

namespace ximCORE::Toolbox {

/// A value object was refused. It carries no text of its own (`what()` is the standard library's
/// "std::exception"): the constructor that throws it has added the reason to the log at level
/// ERROR.
class ConstructorException : public std::exception {};

/// An index lies outside its container. Raised by the bound checks alone; no fault of the operating
/// system becomes one.
class SegmentationFaultException : public std::exception {
 public:
    [[nodiscard]] char const* what() const noexcept override { return "Segmentation fault"; }
};

/// Raises `SegmentationFaultException`. Kept out of line, so that a bound check costs its caller
/// one compare and one jump that is never taken.
[[noreturn, gnu::cold, gnu::noinline]] inline void raise_segmentation_fault() {
    throw SegmentationFaultException{};
}

}  // namespace ximCORE::Toolbox
