#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/render/MVShader.h"

/// Draws vertices that carry a colour each.
///
/// Not linked by its initialiser: a caller links it, after binding what else it needs.
class MIVORA_EXPORT MVShaderPositionColor : public MVShader {
 public:
    /// As `init`.
    static std::shared_ptr<MVShaderPositionColor> shader();

    /// Compiles the program.
    /// @param errorMessage  optional; the driver's logs are appended
    /// @return null when a stage does not compile, or without an active render context
    static std::shared_ptr<MVShaderPositionColor> init(std::string* errorMessage = nullptr);

 protected:
    friend struct MVMaker;
    MVShaderPositionColor() = default;
};
