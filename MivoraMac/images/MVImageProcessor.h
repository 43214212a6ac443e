#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/base/PropertyObservation.h"

class MVFilter;
class MVImage;
class MVImageRenderSurfaceBuffer;
class MVImageView;
class MVRenderSurface;
class MVWindow;

/// Runs the passes of a filter over an image, off the screen, and yields the filtered image.
///
/// The passes draw into two images in turn, each from what the one before it drew. These images
/// are what is yielded: the next run overwrites them. They have the pixels and the scale of the
/// source, unless `destinationSize` bounds them, and are kept from run to run while that stays so.
/// Their coordinate system is 1, and they say that their colours are not premultiplied; what that
/// means for translucent sources, see `MVFilter`.
///
/// Not from within `MVView::draw`: a run draws views of its own. GL work is queued on the render
/// context that was active when the processor was made. Thread: main.
class MIVORA_EXPORT MVImageProcessor : public std::enable_shared_from_this<MVImageProcessor>,
                                       public Mivora::platform::PropertyObserver {
 public:
    /// The most passes that a filter may have to be run.
    static constexpr std::int32_t kMostPasses = 1024;

    /// A processor without source and filter.
    static std::shared_ptr<MVImageProcessor> init();

    ~MVImageProcessor() override;
    MVImageProcessor(const MVImageProcessor&) = delete;
    MVImageProcessor& operator=(const MVImageProcessor&) = delete;

    /// What runs; null for nothing.
    const std::shared_ptr<MVFilter>& filter() const { return filter_; }
    void setFilter(const std::shared_ptr<MVFilter>& filter);

    /// What the first pass draws from; null for nothing. Its size and scale are followed.
    const std::shared_ptr<MVImage>& sourceImage() const { return sourceImage_; }
    void setSourceImage(const std::shared_ptr<MVImage>& image);

    /// The most pixels that the passes draw, as width and height; (0, 0) by default. Each bounds
    /// its direction by itself, so the shape may change. Without effect unless both are above 0.
    Mivora::Size2 destinationSize() const { return destinationSize_; }
    void setDestinationSize(Mivora::Size2 size);

    /// Runs all passes.
    /// @return the result of the last one; the source itself without a filter, without passes, or
    ///         with more than `kMostPasses`, which the debug log (category `images`) says; null for
    ///         a source of no size
    std::shared_ptr<MVImage> filterImage();

    /// Runs all passes but the last.
    /// @return the result of the last one that ran; as above where there is none to run
    std::shared_ptr<MVImage> filterImageWithoutFinalPass();

    /// @name Internal to the library
    /// @{

    /// Makes the images to draw into, or drops them, as source, filter and bound require.
    void mv_rebuildImageBuffers();
    /// Fits the view that draws the passes, and its window, to the source.
    void mv_resizeImageView();
    /// Runs one pass.
    /// @param pass   even ones draw into the first image, odd ones into the second
    /// @param image  what the pass draws from
    /// @return what was drawn into, or null if there is nothing to draw into
    std::shared_ptr<MVImage> mv_applyFilterPassToImage(std::int32_t pass,
                                                       const std::shared_ptr<MVImage>& image);

    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                     Mivora::platform::ObservableObject& object,
                                                     Mivora::platform::PropertyChange change,
                                                     void* context) override;

    /// @}

 protected:
    friend struct MVMaker;
    MVImageProcessor();

 private:
    enum class FinalPass { Run, Left };

    std::shared_ptr<MVImage> run(FinalPass finalPass);
    Mivora::Size2I bufferSize() const;

    std::shared_ptr<MVRenderSurface> surface_;
    std::shared_ptr<MVImageRenderSurfaceBuffer> imageBufferA_;  // of even passes
    std::shared_ptr<MVImageRenderSurfaceBuffer> imageBufferB_;  // of odd passes
    Mivora::Size2 destinationSize_ = Mivora::Size2::kZero;
    std::shared_ptr<MVWindow> window_;
    std::shared_ptr<MVImageView> imageView_;
    std::shared_ptr<MVFilter> filter_;
    std::shared_ptr<MVImage> sourceImage_;
};
