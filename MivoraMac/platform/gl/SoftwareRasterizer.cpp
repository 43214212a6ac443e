#include <epoxy/gl.h>

#include <string_view>

#include "MivoraMac/platform/gl/SoftwareRasterizerPrivate.h"

namespace Mivora::platform {

bool isLlvmpipe() {
    const auto* const renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    return renderer != nullptr && std::string_view(renderer).starts_with("llvmpipe");
}

}  // namespace Mivora::platform
