#include <algorithm>
#include <cstdint>

#include "MivoraMac/images/MVFilter.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/images/MVImageProcessor.h"
#include "MivoraMac/render/MVFilterShader.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVShader.h"
#include "MivoraMac/views/MVFilterStagePrivate.h"
#include "MivoraMac/views/MVQuadPrivate.h"

MVFilterStage::MVFilterStage() = default;

MVFilterStage::~MVFilterStage() = default;

bool MVFilterStage::setFilter(const std::shared_ptr<MVFilter>& filter,
                              const std::shared_ptr<MVFilterObserver>& observer) {
    if (filter_ == filter) {
        return false;
    }
    const std::shared_ptr<MVFilter> before = filter_;
    if (before) {
        before->removeFilterObserver(observer);
    }
    filter_ = filter;
    if (filter_) {
        filter_->addFilterObserver(observer);
    }
    return true;
}

bool MVFilterStage::hasLeadingPasses() const {
    return filter_ && filter_->numberOfPasses() > 1;
}

void MVFilterStage::prepare(const std::shared_ptr<MVImage>& image,
                            std::optional<Mivora::Size2> destinationSize) {
    if (!image || !hasLeadingPasses()) {
        imageProcessor_ = nullptr;
        processedImage_ = nullptr;
        return;
    }
    if (!imageProcessor_) {
        imageProcessor_ = MVImageProcessor::init();
    }
    imageProcessor_->setSourceImage(image);
    imageProcessor_->setFilter(filter_);
    if (destinationSize) {
        imageProcessor_->setDestinationSize(*destinationSize);
    }
    processedImage_ = imageProcessor_->filterImageWithoutFinalPass();
}

void MVFilterStage::draw(MVQuad& quad,
                         const std::shared_ptr<MVShaderPositionTextureUniformColor>& plainShader,
                         const std::shared_ptr<MVImage>& image, float opacity) const {
    const std::shared_ptr<MVFilter> filter = filter_;
    if (!filter) {
        quad.drawImage(plainShader, image, opacity);
        return;
    }
    const std::shared_ptr<MVImage> drawn = processedImage_ ? processedImage_ : image;
    // A negative number of passes counts as none.
    const std::int32_t finalPass = std::max(filter->numberOfPasses(), 0) - 1;
    const std::shared_ptr<MVShader> shader = filter->shaderForRenderPass(finalPass);
    if (!shader) {
        return;
    }
    const bool premultiplied = image->premultipliedAlpha();
    shader->use();
    drawn->use();
    if (auto* const tinted = dynamic_cast<MVFilterShader*>(shader.get())) {
        tinted->setColor(MVQuad::tint(premultiplied, opacity));
    }
    filter->configureShaderRenderPassImage(shader, finalPass, drawn);
    quad.draw(MVQuad::blendOf(premultiplied));
    if (quad.context()) {
        // An image that nobody else holds any more would be gone as soon as it is bound.
        quad.context()->dispatchBlock([drawn] {});
    }
}
