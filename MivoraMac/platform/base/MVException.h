#pragma once

#include <exception>
#include <string>

#include "MivoraMac/Export.h"

/// The base of every exception the library throws: a name that programs can compare and a reason
/// that people can read. `what()` is "name: reason".
///
/// Exceptions report programming errors only. Failures of the outside world (files, drivers,
/// decoders) yield null or a false flag and a line in the debug log.
class MIVORA_EXPORT MVException : public std::exception {
 public:
    /// An argument that no caller may pass, such as a null view.
    static constexpr const char* kInvalidArgument = "MVInvalidArgumentException";
    /// An index beyond the end of a list.
    static constexpr const char* kRange = "MVRangeException";
    /// An operation called in a state, or on a class, that does not support it.
    static constexpr const char* kInternalInconsistency = "MVInternalInconsistencyException";

    /// @param name    one of the constants above, or a client's own
    /// @param reason  a sentence saying what was wrong
    MVException(std::string name, std::string reason);
    ~MVException() override;

    /// What programs compare.
    const std::string& name() const noexcept { return name_; }
    /// What people read.
    const std::string& reason() const noexcept { return reason_; }
    /// "name: reason".
    const char* what() const noexcept override { return what_.c_str(); }

 private:
    std::string name_;
    std::string reason_;
    std::string what_;
};
