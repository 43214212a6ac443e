#include "MivoraMac/images/MVBlurFilter.h"

#include "MivoraMac/images/MVBlurShader.h"
#include "MivoraMac/images/MVImage.h"

std::shared_ptr<MVBlurFilter> MVBlurFilter::init() {
    return MVMake<MVBlurFilter>();
}

std::shared_ptr<MVBlurFilter> MVBlurFilter::initWithBlurRadius(float radius) {
    return MVMake<MVBlurFilter>(radius);
}

MVBlurFilter::MVBlurFilter() = default;

MVBlurFilter::MVBlurFilter(float radius) : shader_(MVBlurShader::initWithBlurRadius(radius)) {}

MVBlurFilter::~MVBlurFilter() = default;

std::int32_t MVBlurFilter::numberOfPasses() const {
    return 2;
}

std::shared_ptr<MVShader> MVBlurFilter::shaderForRenderPass(std::int32_t /*pass*/) {
    return shader_;
}

void MVBlurFilter::configureShaderRenderPassImage(const std::shared_ptr<MVShader>& shader,
                                                  std::int32_t pass,
                                                  const std::shared_ptr<MVImage>& image) {
    if (!shader_ || shader != shader_ || !image) {
        return;
    }
    if (pass == 0) {
        shader_->setTexelSize({1.0F / (image->size().width * image->scale()), 0.0F});
    } else if (pass == 1) {
        shader_->setTexelSize({0.0F, 1.0F / (image->size().height * image->scale())});
    }
}
