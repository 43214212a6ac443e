#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace Mivora::tests {

/// Sets or removes an environment variable and puts the former value back at the end of the scope.
class ScopedEnvironment {
 public:
    /// @param value  null removes the variable
    ScopedEnvironment(std::string name, const char* value) : name_(std::move(name)) {
        if (const char* former = std::getenv(name_.c_str())) {
            former_ = former;
        }
        set(value);
    }
    ~ScopedEnvironment() { set(former_ ? former_->c_str() : nullptr); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

    void set(const char* value) const {
        if (value != nullptr) {
            ::setenv(name_.c_str(), value, 1);
        } else {
            ::unsetenv(name_.c_str());
        }
    }

 private:
    std::string name_;
    std::optional<std::string> former_;
};

}  // namespace Mivora::tests
