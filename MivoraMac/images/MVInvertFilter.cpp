#include "MivoraMac/images/MVInvertFilter.h"

#include <mutex>

#include "MivoraMac/images/MVInvertShader.h"

std::shared_ptr<MVInvertFilter> MVInvertFilter::init() {
    return MVMake<MVInvertFilter>();
}

MVInvertFilter::MVInvertFilter() : shader_(mv_sharedInvertShader()) {}

MVInvertFilter::~MVInvertFilter() = default;

std::int32_t MVInvertFilter::numberOfPasses() const {
    return 1;
}

std::shared_ptr<MVShader> MVInvertFilter::shaderForRenderPass(std::int32_t /*pass*/) {
    return shader_;
}

std::shared_ptr<MVInvertShader> MVInvertFilter::mv_sharedInvertShader() {
    static std::mutex mutex;
    static std::weak_ptr<MVInvertShader> shared;
    const std::lock_guard lock(mutex);
    std::shared_ptr<MVInvertShader> shader = shared.lock();
    if (!shader) {
        shader = MVInvertShader::init();
        shared = shader;
    }
    return shader;
}
