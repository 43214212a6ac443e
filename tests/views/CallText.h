#pragma once

#include <string>

#include "tests/support/GLCallRecorder.h"

namespace Mivora::tests {

/// What `GLCall::text` makes of a call with these arguments; a pointer counts as 0 (null) or 1.
template <class... Arguments>
std::string callText(const char* name, Arguments... arguments) {
    return GLCall{name, {static_cast<double>(arguments)...}, {}, {}, {}}.text();
}

}  // namespace Mivora::tests
