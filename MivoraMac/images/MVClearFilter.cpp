#include "MivoraMac/images/MVClearFilter.h"

#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/render/MVShaderPositionTextureUniformColor.h"

std::shared_ptr<MVClearFilter> MVClearFilter::init() {
    return MVMake<MVClearFilter>();
}

MVClearFilter::MVClearFilter() {
    if (const auto cache = MVShaderCache::sharedCache()) {
        shader_ = cache->shaderForKeyAs<MVShaderPositionTextureUniformColor>(
            "MVShaderPositionTextureUniformColor");
    }
}

MVClearFilter::~MVClearFilter() = default;

std::int32_t MVClearFilter::numberOfPasses() const {
    return 1;
}

std::shared_ptr<MVShader> MVClearFilter::shaderForRenderPass(std::int32_t /*pass*/) {
    return shader_;
}
