#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"

class MVShader;

/// Shaders shared by name, so that each program is compiled once for the process.
///
/// The first application fills the shared cache with the standard shaders; views and filters fetch
/// theirs from it:
///
/// | key | shader |
/// |---|---|
/// | "MVShaderPositionColor" | `MVShaderPositionColor` |
/// | "MVShaderPositionUniformColor" | `MVShaderPositionUniformColor` |
/// | "MVShaderPositionTextureColor" | `MVShaderPositionTexture` |
/// | "MVShaderPositionTextureUniformColor" | `MVShaderPositionTextureUniformColor` |
///
/// Thread: filled before it is shared, then read from any.
class MIVORA_EXPORT MVShaderCache {
 public:
    /// An empty cache.
    static std::shared_ptr<MVShaderCache> init();

    ~MVShaderCache();
    MVShaderCache(const MVShaderCache&) = delete;
    MVShaderCache& operator=(const MVShaderCache&) = delete;

    /// The process-wide cache, held weakly; null when there is none.
    static std::shared_ptr<MVShaderCache> sharedCache();
    /// Makes a cache the process-wide one; null for none.
    static void mv_setSharedCache(const std::shared_ptr<MVShaderCache>& cache);

    /// Compiles the standard shaders and stores them under their keys; a second call does nothing.
    /// @throws MVException (internal inconsistency) naming the shader, with the driver's log, when
    ///         one does not compile or link
    void loadDefaultShaders();

    /// Stores a shader, replacing any under that key.
    /// @throws MVException (invalid argument) for a null shader
    void setShaderForKey(std::shared_ptr<MVShader> shader, const std::string& key);

    /// The shader under a key, or null.
    std::shared_ptr<MVShader> shaderForKey(const std::string& key) const;

    /// As above, as the class the caller knows it to be; null when it is of another.
    template <class Shader>
    std::shared_ptr<Shader> shaderForKeyAs(const std::string& key) const {
        return std::dynamic_pointer_cast<Shader>(shaderForKey(key));
    }

    /// The number of shaders stored.
    std::size_t count() const { return shaders_.size(); }

 private:
    friend struct MVMaker;
    MVShaderCache();

    std::unordered_map<std::string, std::shared_ptr<MVShader>> shaders_;
    bool defaultShadersLoaded_ = false;
};
