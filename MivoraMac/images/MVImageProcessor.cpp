#include "MivoraMac/images/MVImageProcessor.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/images/MVImageRenderSurfaceBuffer.h"
#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/images/MVSinglePassFilter.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/views/MVImageView.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::DebugLog;

namespace {

constexpr const char* kWatchedKeys[] = {"size", "scale"};

/// Pixels as a whole number, truncated. What is no number counts as 0, and what is too large as
/// more than any driver takes.
std::int32_t wholePixels(float pixels) {
    constexpr float kMost = 1 << 20;
    return pixels > 0.0F ? static_cast<std::int32_t>(std::min(pixels, kMost)) : 0;
}

}  // namespace

std::shared_ptr<MVImageProcessor> MVImageProcessor::init() {
    return MVMake<MVImageProcessor>();
}

MVImageProcessor::MVImageProcessor()
    : surface_(MVRenderSurface::init()),
      window_(MVWindow::init()),
      imageView_(MVImageView::init()) {
    surface_->setDepthFormat(0);
    surface_->setStencilFormat(0);
    surface_->setMultisampleFormat(0);
    window_->setMv_surface(surface_);
    window_->addSubview(imageView_);
}

MVImageProcessor::~MVImageProcessor() {
    setSourceImage(nullptr);
    if (const auto context = MVRenderContext::mv_drawingContext()) {
        // What was drawn into the surface is still queued, and needs its framebuffer.
        context->dispatchBlock([surface = std::move(surface_)] {});
    }
}

void MVImageProcessor::setFilter(const std::shared_ptr<MVFilter>& filter) {
    if (filter_ == filter) {
        return;
    }
    filter_ = filter;
    mv_rebuildImageBuffers();
}

void MVImageProcessor::setSourceImage(const std::shared_ptr<MVImage>& image) {
    if (sourceImage_ == image) {
        return;
    }
    for (const char* const key : kWatchedKeys) {
        if (image) {
            image->addObserver(shared_from_this(), key);
        }
        if (sourceImage_) {
            sourceImage_->removeObserver(this, key);
        }
    }
    sourceImage_ = image;
    mv_rebuildImageBuffers();
    mv_resizeImageView();
}

void MVImageProcessor::setDestinationSize(Mivora::Size2 size) {
    if (destinationSize_ == size) {
        return;
    }
    destinationSize_ = size;
    mv_rebuildImageBuffers();
}

void MVImageProcessor::observeValueForKeyPathOfObjectChangeContext(
    std::string_view /*keyPath*/, Mivora::platform::ObservableObject& object,
    Mivora::platform::PropertyChange /*change*/, void* /*context*/) {
    if (&object == sourceImage_.get()) {
        mv_rebuildImageBuffers();
        mv_resizeImageView();
    }
}

std::shared_ptr<MVImage> MVImageProcessor::filterImage() {
    return run(FinalPass::Run);
}

std::shared_ptr<MVImage> MVImageProcessor::filterImageWithoutFinalPass() {
    return run(FinalPass::Left);
}

std::shared_ptr<MVImage> MVImageProcessor::run(FinalPass finalPass) {
    const std::int32_t passes = filter_ ? filter_->numberOfPasses() : 0;
    const std::int32_t end = finalPass == FinalPass::Run || passes <= 0 ? passes : passes - 1;
    if (end <= 0) {
        return sourceImage_;
    }
    if (passes > kMostPasses) {
        DebugLog::log(DebugLog::Category::Images, "a filter with %d passes is not run", passes);
        return sourceImage_;
    }
    // The filter may have another number of passes than before, and a mutable image that loads in
    // the background does not tell of its size.
    mv_rebuildImageBuffers();
    std::shared_ptr<MVImage> image = sourceImage_;
    for (std::int32_t pass = 0; pass < end && image; ++pass) {
        image = mv_applyFilterPassToImage(pass, image);
    }
    return image;
}

/// In pixels; 0 in either direction where there is nothing to draw.
Mivora::Size2I MVImageProcessor::bufferSize() const {
    if (!sourceImage_ || !filter_ || filter_->numberOfPasses() < 1) {
        return Mivora::Size2I::kZero;
    }
    const Mivora::Size2 size = sourceImage_->size();
    const float scale = sourceImage_->scale();
    Mivora::Size2I pixels = {wholePixels(std::round(size.width * scale)),
                             wholePixels(std::round(size.height * scale))};
    if (destinationSize_.width > 0.0F && destinationSize_.height > 0.0F) {
        // Pixels are compared with the bound as they are, whatever the scale.
        pixels.width =
            wholePixels(std::min(static_cast<float>(pixels.width), destinationSize_.width));
        pixels.height =
            wholePixels(std::min(static_cast<float>(pixels.height), destinationSize_.height));
    }
    return pixels;
}

void MVImageProcessor::mv_rebuildImageBuffers() {
    const Mivora::Size2I size = bufferSize();
    if (size.width == 0 || size.height == 0) {
        imageBufferA_ = nullptr;
        imageBufferB_ = nullptr;
        surface_->setColorBuffer(nullptr);
        return;
    }
    const auto isSource = [this](const std::shared_ptr<MVImageRenderSurfaceBuffer>& buffer) {
        return buffer && buffer->image() == sourceImage_;
    };
    // No pass may draw into what it draws from, as it would where a result is filtered once more.
    if (!imageBufferA_ || imageBufferA_->storageSize() != size || isSource(imageBufferA_)) {
        imageBufferA_ =
            MVImageRenderSurfaceBuffer::initWithStorageSizeScale(size, sourceImage_->scale());
        imageBufferB_ = nullptr;
    }
    if (filter_->numberOfPasses() < 2) {
        imageBufferB_ = nullptr;
    } else if (!imageBufferB_ || isSource(imageBufferB_)) {
        imageBufferB_ =
            MVImageRenderSurfaceBuffer::initWithStorageSizeScale(size, sourceImage_->scale());
    }
}

void MVImageProcessor::mv_resizeImageView() {
    const Mivora::Size2 size = sourceImage_ ? sourceImage_->size() : Mivora::Size2::kZero;
    window_->setSize(size);
    window_->setContentScaleFactor(sourceImage_ ? sourceImage_->scale() : 0.0F);
    imageView_->setImage(sourceImage_);
    imageView_->setSize(size);
}

std::shared_ptr<MVImage> MVImageProcessor::mv_applyFilterPassToImage(
    std::int32_t pass, const std::shared_ptr<MVImage>& image) {
    imageView_->setImage(image);
    imageView_->setFilter(MVSinglePassFilter::initWithFilterPass(filter_, pass));
    const std::shared_ptr<MVImageRenderSurfaceBuffer> target =
        pass % 2 == 1 ? imageBufferB_ : imageBufferA_;
    if (!target) {
        return nullptr;
    }
    surface_->setColorBuffer(target);
    surface_->renderBlock([this] { window_->mv_drawVisit(); });
    return target->image();
}
