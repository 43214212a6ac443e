#pragma once

#include <array>
#include <glm/mat4x4.hpp>
#include <memory>

#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/geometry/Rect.h"
#include "MivoraMac/render/MVShader.h"

class MVQuad;
class MVShaderPositionUniformColor;
class MVView;

/// The frame that shows which view has the keyboard's focus: along the inside of the view's
/// rectangle and in its plane, so that nothing that clips the view leaves it out, an outer band in
/// the colour of focus and an inner one in white, so that it stands out on any ground. The bands
/// are so many points wide in the view's own space; a view too small for one is filled with it.
///
/// The GL objects are made on the context that is active at creation; the shader comes from the
/// shared shader cache. Without either, nothing is drawn. Thread: main.
class MVFocusRing final : private MVShaderMatrixSource {
 public:
    static constexpr float kOuterWidth = 2.0F;
    static constexpr float kInnerWidth = 1.0F;
    static constexpr Mivora::ColorRGBA kOuterColor = {0.11F, 0.44F, 0.85F, 1.0F};
    static constexpr Mivora::ColorRGBA kInnerColor = {1.0F, 1.0F, 1.0F, 1.0F};

    MVFocusRing();
    ~MVFocusRing();
    MVFocusRing(const MVFocusRing&) = delete;
    MVFocusRing& operator=(const MVFocusRing&) = delete;

    /// Queues the drawing over a view, as part of the view's drawing visit.
    void draw(MVView& view);

 private:
    using Band = std::array<std::unique_ptr<MVQuad>, 4>;

    void drawBand(Band& band, const Mivora::Rect2& rect, float width, Mivora::ColorRGBA color);
    void drawStrip(MVQuad& quad, const Mivora::Rect2& rect, Mivora::ColorRGBA color);

    MVShaderMatrices mv_shaderMatrices() override;
    void mv_readQuadMatrices(glm::mat4& projection, glm::mat4& transform) override;

    Band outer_;
    Band inner_;
    std::shared_ptr<MVShaderPositionUniformColor> shader_;

    // Of the view that is being drawn over, and where in it the strip at hand lies.
    glm::mat4 projection_{1.0F};
    glm::mat4 transform_{1.0F};
    Mivora::Point2 origin_ = Mivora::Point2::kZero;
};
