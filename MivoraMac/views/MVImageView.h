#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/images/MVFilterObserver.h"
#include "MivoraMac/views/MVView.h"

class MVFilterStage;
class MVImage;
class MVTextureQuad;
class MVShaderPositionTextureUniformColor;

/// A view that shows an image, stretched over its width and height, through a filter if it is given
/// one.
///
/// The view watches its image: when the size changes, or the contents of a mutable image, it is
/// drawn anew. Only of a plain image that loads in the background nothing tells that its pixels
/// have come: its completion block calls `setNeedsDraw`.
///
/// With every image the view takes over the image's coordinate system, so that the picture stands
/// upright however its rows are stored.
///
/// Blending is always on. Without an image, nothing is drawn.
///
/// A filter draws the image in place of the view. Its last pass is drawn into the window; those
/// before it are run anew for every frame that is drawn, into textures of at most as many pixels as
/// the view has points: a filter with several passes makes a picture at most that fine. A filter
/// that has no shader for its last pass draws nothing.
///
/// Thread: main.
class MIVORA_EXPORT MVImageView : public MVView, public MVFilterObserver {
 public:
    /// Creates a view of size zero without an image.
    static std::shared_ptr<MVImageView> init();

    /// Creates a view that has the image's size, which later images and changes do not alter.
    /// @param image  null makes it `init`
    static std::shared_ptr<MVImageView> initWithImage(const std::shared_ptr<MVImage>& image);

    ~MVImageView() override;

    /// The image, or null.
    const std::shared_ptr<MVImage>& image() const { return image_; }

    /// Shows another image; null for none. The same one does nothing.
    ///
    /// Which part of its texture is shown is taken over when the view or the image changes its
    /// size, not with the image: one whose `coordinateSpace` differs from that of the one before
    /// shows that part at first.
    void setImage(const std::shared_ptr<MVImage>& image);

    /// What the image is shown through, or null.
    const std::shared_ptr<MVFilter>& filter() const;

    /// Shows the image through another filter, whose changes it then follows; null for none. The
    /// same one does nothing.
    void setFilter(const std::shared_ptr<MVFilter>& filter);

    /// Asks for a redraw.
    void filterDidChange(const std::shared_ptr<MVFilter>& filter) override;

    void setSize3(Mivora::Size3 size) override;

    /// @name Internal to the library
    /// @{

    /// Rewrites the vertices if size or texture coordinates changed since they were last built.
    void mv_buildQuadVertices();

    bool mv_recordQuad(MVQuadVisit& visit) override;

    /// A picture, as soon as it has a label: one without says nothing to those who do not see it.
    MVOwnElement mv_ownElement() const override;

    /// @}

 protected:
    friend struct MVMaker;

    /// See `initWithImage`.
    explicit MVImageView(const std::shared_ptr<MVImage>& image = nullptr);

    void prepareForDraw() override;
    void draw() override;

 private:
    class Observer;

    std::shared_ptr<MVFilterObserver> filterObserver();

    std::shared_ptr<MVImage> image_;
    std::unique_ptr<MVTextureQuad> quad_;
    std::shared_ptr<MVShaderPositionTextureUniformColor> shader_;
    std::shared_ptr<Observer> observer_;
    std::unique_ptr<MVFilterStage> filterStage_;
};
