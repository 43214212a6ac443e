#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/render/MVFilterShader.h"
#include "MivoraMac/render/MVShader.h"

/// Draws vertices in one colour.
class MIVORA_EXPORT MVShaderPositionUniformColor : public MVShader, public MVFilterShader {
 public:
    /// As `init`.
    static std::shared_ptr<MVShaderPositionUniformColor> shader();

    /// Compiles and links the program.
    /// @param errorMessage  optional; the driver's logs are appended
    /// @return null when a stage does not compile, or without an active render context
    static std::shared_ptr<MVShaderPositionUniformColor> init(std::string* errorMessage = nullptr);

    /// Queues the upload of the colour to the program that is current by then: call it after
    /// `use`. Straight alpha, not clamped.
    void setColor(Mivora::ColorRGBA color) override;

    /// How quads are drawn that are recorded for this shader. Only for a linked one of exactly this
    /// class: a subclass may bind in ways of its own.
    /// @return whether there are such quads
    bool mv_readQuadProgram(MVQuadProgram& program) const;

 protected:
    friend struct MVMaker;
    MVShaderPositionUniformColor() = default;

 private:
    std::int32_t colorUniform_ = 0;
};
