#include "MivoraMac/platform/base/ClassNamePrivate.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace Mivora::platform {

std::string classNameOf(const std::type_info& type) {
    const char* const mangled = type.name();
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
    return status == 0 ? readable.get() : mangled;
}

}  // namespace Mivora::platform
