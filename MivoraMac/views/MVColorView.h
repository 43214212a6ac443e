#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/views/MVView.h"

class MVQuad;
class MVShaderPositionUniformColor;

/// A view that fills its rectangle with one colour.
///
/// The cheapest visible view: one quad, no texture. The fill fades with the view's effective
/// opacity and is blended only when the result is not opaque.
///
/// Thread: main. GL work is queued on the context that was active at creation; the shader comes
/// from the shared shader cache. Without either, nothing is drawn.
class MIVORA_EXPORT MVColorView : public MVView {
 public:
    /// Creates an opaque white view of size zero.
    static std::shared_ptr<MVColorView> init();

    /// Creates a view of size zero.
    /// @param color  fill, straight alpha, components nominally 0 to 1; not clamped
    static std::shared_ptr<MVColorView> initWithColor(Mivora::ColorRGBA color);

    ~MVColorView() override;

    /// The fill, straight alpha.
    Mivora::ColorRGBA color() const { return color_; }

    /// Changes the fill and asks for a redraw. An equal colour does nothing.
    void setColor(Mivora::ColorRGBA color);

    void setSize3(Mivora::Size3 size) override;
    void draw() override;

    /// @name Internal to the library
    /// @{

    /// Rewrites the quad's vertices if the width or height changed since they were built.
    void mv_buildQuadVertices();

    bool mv_recordQuad(MVQuadVisit& visit) override;

    /// @}

 protected:
    friend struct MVMaker;
    /// See `initWithColor`.
    explicit MVColorView(Mivora::ColorRGBA color = Mivora::ColorRGBA::kWhite);

 private:
    Mivora::ColorRGBA fadedColor();

    Mivora::ColorRGBA color_;
    std::unique_ptr<MVQuad> quad_;
    std::shared_ptr<MVShaderPositionUniformColor> shader_;
};
