#include "MivoraMac/images/MVSinglePassFilter.h"

#include <utility>

std::shared_ptr<MVSinglePassFilter> MVSinglePassFilter::init() {
    return MVMake<MVSinglePassFilter>();
}

std::shared_ptr<MVSinglePassFilter> MVSinglePassFilter::initWithFilterPass(
    const std::shared_ptr<MVFilter>& filter, std::int32_t pass) {
    return MVMake<MVSinglePassFilter>(filter, pass);
}

MVSinglePassFilter::MVSinglePassFilter(std::shared_ptr<MVFilter> filter, std::int32_t pass)
    : filter_(std::move(filter)), pass_(pass) {}

std::int32_t MVSinglePassFilter::numberOfPasses() const {
    return 1;
}

std::shared_ptr<MVShader> MVSinglePassFilter::shaderForRenderPass(std::int32_t /*pass*/) {
    return filter_ ? filter_->shaderForRenderPass(pass_) : nullptr;
}

void MVSinglePassFilter::configureShaderRenderPassImage(const std::shared_ptr<MVShader>& shader,
                                                        std::int32_t /*pass*/,
                                                        const std::shared_ptr<MVImage>& image) {
    if (filter_) {
        filter_->configureShaderRenderPassImage(shader, pass_, image);
    }
}
