#pragma once

#include <memory>
#include <optional>

#include "MivoraMac/geometry/Size.h"

class MVFilter;
class MVFilterObserver;
class MVImage;
class MVImageProcessor;
class MVQuad;
class MVShaderPositionTextureUniformColor;

/// What a view does with the filter it shows an image through: all passes but the last are run
/// off the screen before the frame is drawn; the last one draws the view's quad.
///
/// Thread: main.
class MVFilterStage {
 public:
    MVFilterStage();
    ~MVFilterStage();

    const std::shared_ptr<MVFilter>& filter() const { return filter_; }

    /// Has `observer` observe this filter instead of the one before.
    /// @return whether it is another one
    bool setFilter(const std::shared_ptr<MVFilter>& filter,
                   const std::shared_ptr<MVFilterObserver>& observer);

    /// Whether there are passes to run before the last one.
    bool hasLeadingPasses() const;

    /// Runs the passes before the last one, or, without any or without an image, drops what was
    /// kept of earlier runs.
    /// @param destinationSize  bounds the results in pixels, if it is given
    void prepare(const std::shared_ptr<MVImage>& image,
                 std::optional<Mivora::Size2> destinationSize = std::nullopt);

    /// What the passes before the last one made; null if none ran.
    const std::shared_ptr<MVImage>& processedImage() const { return processedImage_; }

    /// Queues the drawing of the quad with the filter's last pass, or, without a filter, with
    /// `shader`: of what the passes before it made, or else of the image. Draws nothing where there
    /// is no shader.
    /// @param image    decides about blending, whatever is drawn
    /// @param opacity  of the view
    void draw(MVQuad& quad,
              const std::shared_ptr<MVShaderPositionTextureUniformColor>& shader,
              const std::shared_ptr<MVImage>& image, float opacity) const;

 private:
    std::shared_ptr<MVFilter> filter_;
    std::shared_ptr<MVImageProcessor> imageProcessor_;
    std::shared_ptr<MVImage> processedImage_;
};
