#include "MivoraMac/render/MVShaderCache.h"

#include <mutex>
#include <utility>

#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/render/MVShaderPositionColor.h"
#include "MivoraMac/render/MVShaderPositionTexture.h"
#include "MivoraMac/render/MVShaderPositionTextureUniformColor.h"
#include "MivoraMac/render/MVShaderPositionUniformColor.h"

namespace {

struct SharedCache {
    std::mutex mutex;
    std::weak_ptr<MVShaderCache> cache;
};

SharedCache& shared() {
    static SharedCache* holder = new SharedCache;  // read from threads that outlive statics
    return *holder;
}

[[noreturn]] void fail(const char* key, const std::string& log) {
    throw MVException(MVException::kInternalInconsistency,
                      std::string("the standard shader ") + key +
                          " cannot be used on this driver: " +
                          (log.empty() ? "there is no active GL context" : log));
}

template <class Shader>
std::shared_ptr<Shader> compiled(const char* key) {
    std::string log;
    auto shader = Shader::init(&log);
    if (!shader) {
        fail(key, log);
    }
    return shader;
}

template <class Shader>
std::shared_ptr<Shader> linked(const char* key) {
    std::string log;
    auto shader = Shader::init(&log);
    if (!shader || !shader->isLinked()) {
        fail(key, log);
    }
    return shader;
}

}  // namespace

MVShaderCache::MVShaderCache() = default;

MVShaderCache::~MVShaderCache() = default;

std::shared_ptr<MVShaderCache> MVShaderCache::init() {
    return MVMake<MVShaderCache>();
}

std::shared_ptr<MVShaderCache> MVShaderCache::sharedCache() {
    SharedCache& holder = shared();
    const std::lock_guard lock(holder.mutex);
    return holder.cache.lock();
}

void MVShaderCache::mv_setSharedCache(const std::shared_ptr<MVShaderCache>& cache) {
    SharedCache& holder = shared();
    const std::lock_guard lock(holder.mutex);
    holder.cache = cache;
}

void MVShaderCache::loadDefaultShaders() {
    if (defaultShadersLoaded_) {
        return;
    }
    constexpr const char* kColor = "MVShaderPositionColor";
    constexpr const char* kUniformColor = "MVShaderPositionUniformColor";
    constexpr const char* kTexture = "MVShaderPositionTextureColor";  // not its class's name
    constexpr const char* kTextureUniformColor = "MVShaderPositionTextureUniformColor";
    setShaderForKey(compiled<MVShaderPositionColor>(kColor), kColor);
    setShaderForKey(linked<MVShaderPositionUniformColor>(kUniformColor), kUniformColor);
    setShaderForKey(linked<MVShaderPositionTexture>(kTexture), kTexture);
    setShaderForKey(linked<MVShaderPositionTextureUniformColor>(kTextureUniformColor),
                    kTextureUniformColor);
    defaultShadersLoaded_ = true;
}

void MVShaderCache::setShaderForKey(std::shared_ptr<MVShader> shader, const std::string& key) {
    if (!shader) {
        throw MVException(MVException::kInvalidArgument,
                          "no shader was given for the cache key \"" + key + "\"");
    }
    shaders_[key] = std::move(shader);
}

std::shared_ptr<MVShader> MVShaderCache::shaderForKey(const std::string& key) const {
    const auto found = shaders_.find(key);
    return found != shaders_.end() ? found->second : nullptr;
}
