#include "MivoraMac/render/MVShaderCache.h"

#include <epoxy/gl.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/render/MVShader.h"
#include "MivoraMac/render/MVShaderPositionColor.h"
#include "MivoraMac/render/MVShaderPositionTexture.h"
#include "MivoraMac/render/MVShaderPositionTextureUniformColor.h"
#include "MivoraMac/render/MVShaderPositionUniformColor.h"
#include "tests/support/GLTest.h"

using Mivora::tests::GLCall;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// In the order in which they are loaded.
constexpr std::array<const char*, 4> kKeys = {
    "MVShaderPositionColor", "MVShaderPositionUniformColor", "MVShaderPositionTextureColor",
    "MVShaderPositionTextureUniformColor"};

class MVShaderCacheTest : public Mivora::tests::GLTest {
 protected:
    static std::shared_ptr<MVShaderCache> loaded() {
        auto cache = MVShaderCache::init();
        cache->loadDefaultShaders();
        return cache;
    }

    static std::shared_ptr<MVShader> plainShader() {
        return MVShader::initWithVertexShaderSourceFragmentShaderSource(
            "void main() { gl_Position = vec4(0.0); }",
            "void main() { gl_FragColor = vec4(1.0); }");
    }

    /// The reason with which loading stops.
    static std::string refusal(MVShaderCache& cache) {
        try {
            cache.loadDefaultShaders();
        } catch (const MVException& exception) {
            EXPECT_EQ(exception.name(), MVException::kInternalInconsistency);
            return exception.reason();
        }
        ADD_FAILURE() << "nothing was thrown";
        return "";
    }

    /// Has the driver meet text that is no shader the `count`th time it compiles.
    void breakCompile(int count) {
        gl_->before("glCompileShader", [count, seen = 0](const GLCall& call) mutable {
            if (++seen == count) {
                overwrite(static_cast<GLuint>(call.arguments[0]));
            }
        });
    }

    /// Has the driver meet a stage that does not compile the `count`th time it links.
    void breakLink(int count) {
        gl_->before("glLinkProgram", [count, seen = 0](const GLCall& call) mutable {
            if (++seen == count) {
                GLuint stage = 0;
                glGetAttachedShaders(static_cast<GLuint>(call.arguments[0]), 1, nullptr, &stage);
                overwrite(stage);
                glCompileShader(stage);
            }
        });
    }

 private:
    static void overwrite(GLuint stage) {
        const char* broken = "void main() { nonsense = 1.0; }";
        glShaderSource(stage, 1, &broken, nullptr);
    }
};

TEST_F(MVShaderCacheTest, aNewCacheIsEmptyAndMakesNoGLCalls) {
    const auto cache = MVShaderCache::init();
    EXPECT_EQ(cache->count(), 0U);
    for (const char* key : kKeys) {
        EXPECT_EQ(cache->shaderForKey(key), nullptr) << key;
    }
    EXPECT_THAT(gl_->calls(), IsEmpty());
}

TEST_F(MVShaderCacheTest, anUnknownKeyYieldsNull) {
    const auto cache = loaded();
    EXPECT_EQ(cache->shaderForKey("nothing"), nullptr);
    EXPECT_EQ(cache->shaderForKey(""), nullptr);
    EXPECT_EQ(cache->shaderForKey("mvshaderpositioncolor"), nullptr);
}

TEST_F(MVShaderCacheTest, aShaderIsFoundUnderTheKeyItWasStoredUnder) {
    const auto cache = MVShaderCache::init();
    const auto shader = plainShader();
    cache->setShaderForKey(shader, "mine");
    cache->setShaderForKey(shader, "");
    EXPECT_EQ(cache->shaderForKey("mine"), shader);
    EXPECT_EQ(cache->shaderForKey(""), shader);
    EXPECT_EQ(cache->count(), 2U);
}

TEST_F(MVShaderCacheTest, storingReplacesAndReleasesTheShaderUnderThatKey) {
    const auto cache = MVShaderCache::init();
    cache->setShaderForKey(plainShader(), "mine");
    const std::weak_ptr<MVShader> first = cache->shaderForKey("mine");
    const auto second = plainShader();
    cache->setShaderForKey(second, "mine");
    EXPECT_TRUE(first.expired());
    EXPECT_EQ(cache->shaderForKey("mine"), second);
    EXPECT_EQ(cache->count(), 1U);
}

TEST_F(MVShaderCacheTest, aNullShaderIsRefusedAndChangesNothing) {
    const auto cache = MVShaderCache::init();
    const auto shader = plainShader();
    cache->setShaderForKey(shader, "mine");
    for (const char* key : {"mine", "other"}) {
        try {
            cache->setShaderForKey(nullptr, key);
            ADD_FAILURE() << "a null shader was accepted for " << key;
        } catch (const MVException& exception) {
            EXPECT_EQ(exception.name(), MVException::kInvalidArgument);
            EXPECT_THAT(exception.reason(), HasSubstr(key));
        }
    }
    EXPECT_EQ(cache->shaderForKey("mine"), shader);
    EXPECT_EQ(cache->count(), 1U);
}

TEST_F(MVShaderCacheTest, theCacheKeepsItsShaders) {
    auto cache = loaded();
    const std::weak_ptr<MVShader> shader = cache->shaderForKey("MVShaderPositionUniformColor");
    EXPECT_FALSE(shader.expired());
    cache.reset();
    EXPECT_TRUE(shader.expired());
}

TEST_F(MVShaderCacheTest, theStandardShadersAreUnderTheirKeys) {
    const auto cache = loaded();
    EXPECT_EQ(cache->count(), 4U);
    EXPECT_NE(cache->shaderForKeyAs<MVShaderPositionColor>("MVShaderPositionColor"), nullptr);
    EXPECT_NE(cache->shaderForKeyAs<MVShaderPositionUniformColor>("MVShaderPositionUniformColor"),
              nullptr);
    EXPECT_NE(cache->shaderForKeyAs<MVShaderPositionTexture>("MVShaderPositionTextureColor"),
              nullptr);
    EXPECT_NE(cache->shaderForKeyAs<MVShaderPositionTextureUniformColor>(
                  "MVShaderPositionTextureUniformColor"),
              nullptr);
}

TEST_F(MVShaderCacheTest, theTextureShaderIsNotUnderTheNameOfItsClass) {
    const auto cache = loaded();
    EXPECT_EQ(cache->shaderForKey("MVShaderPositionTexture"), nullptr);
}

TEST_F(MVShaderCacheTest, fetchingAShaderAsAnotherClassYieldsNull) {
    const auto cache = loaded();
    EXPECT_EQ(cache->shaderForKeyAs<MVShaderPositionTexture>("MVShaderPositionColor"), nullptr);
    EXPECT_EQ(cache->shaderForKeyAs<MVShaderPositionTexture>("nothing"), nullptr);
}

TEST_F(MVShaderCacheTest, theStandardShadersAreMadeInTheOrderOfTheTable) {
    const auto cache = loaded();
    std::vector<std::string> fragments;
    for (const GLCall& call : gl_->callsOf("glShaderSource")) {
        if (call.strings.at(1).find("gl_FragColor") != std::string::npos) {
            fragments.push_back(call.strings.at(1));
        }
    }
    EXPECT_THAT(fragments, ElementsAre(HasSubstr("gl_FragColor = v_fragmentColor;"),
                                       HasSubstr("gl_FragColor = u_color;"),
                                       HasSubstr("= texture2D(u_sampler, v_texCoord);"),
                                       HasSubstr("= texture2D(u_sampler, v_texCoord) * u_color;")));
    EXPECT_THAT(gl_->callsOf("glLinkProgram"), SizeIs(3)) << "all but the first are linked";
}

TEST_F(MVShaderCacheTest, loadingTwiceLeavesTheFourOfTheFirstTime) {
    const auto cache = loaded();
    std::vector<std::shared_ptr<MVShader>> first;
    for (const char* key : kKeys) {
        first.push_back(cache->shaderForKey(key));
    }
    gl_->clear();
    cache->loadDefaultShaders();
    finish();
    EXPECT_EQ(cache->count(), 4U);
    for (std::size_t i = 0; i < kKeys.size(); ++i) {
        EXPECT_EQ(cache->shaderForKey(kKeys[i]), first[i]) << kKeys[i];
    }
    EXPECT_THAT(gl_->calls(), IsEmpty());
}

TEST_F(MVShaderCacheTest, loadingAgainDoesNotUndoALaterReplacement) {
    const auto cache = loaded();
    const auto shader = plainShader();
    cache->setShaderForKey(shader, "MVShaderPositionColor");
    cache->loadDefaultShaders();
    EXPECT_EQ(cache->shaderForKey("MVShaderPositionColor"), shader);
}

TEST_F(MVShaderCacheTest, loadingReplacesWhatWasUnderAStandardKeyAndKeepsTheRest) {
    const auto cache = MVShaderCache::init();
    const auto shader = plainShader();
    cache->setShaderForKey(shader, "MVShaderPositionColor");
    cache->setShaderForKey(shader, "mine");
    cache->loadDefaultShaders();
    EXPECT_NE(cache->shaderForKey("MVShaderPositionColor"), shader);
    EXPECT_EQ(cache->shaderForKey("mine"), shader);
    EXPECT_EQ(cache->count(), 5U);
}

TEST_F(MVShaderCacheTest, theVertexColorShaderComesUnlinkedAndIsLinkedByTheFirstToAsk) {
    const auto cache = loaded();
    const auto shader = cache->shaderForKey("MVShaderPositionColor");
    EXPECT_FALSE(shader->isLinked());
    gl_->clear();
    EXPECT_TRUE(shader->attemptLinkWithErrorMessage(nullptr));
    EXPECT_THAT(gl_->callsOf("glLinkProgram"), SizeIs(1));
    EXPECT_TRUE(cache->shaderForKey("MVShaderPositionColor")->isLinked());
    for (const char* key : kKeys) {
        EXPECT_TRUE(cache->shaderForKey(key)->isLinked()) << key;
    }
}

// Shaders that the driver refuses

TEST_F(MVShaderCacheTest, aStandardShaderThatDoesNotCompileStopsLoadingWithTheDriversLog) {
    for (std::size_t i = 0; i < kKeys.size(); ++i) {
        for (const int stage : {1, 2}) {
            SCOPED_TRACE(std::string(kKeys[i]) + ", stage " + std::to_string(stage));
            const auto cache = MVShaderCache::init();
            breakCompile(static_cast<int>(i) * 2 + stage);
            const std::string reason = refusal(*cache);
            EXPECT_THAT(reason, HasSubstr(std::string("standard shader ") + kKeys[i] + " "));
            EXPECT_THAT(reason, HasSubstr("nonsense")) << "what the driver complained about";
            EXPECT_EQ(cache->count(), i) << "those before it are in";
            EXPECT_EQ(cache->shaderForKey(kKeys[i]), nullptr);
        }
    }
}

TEST_F(MVShaderCacheTest, aStandardShaderThatDoesNotLinkStopsLoadingWithTheDriversLog) {
    for (const int link : {1, 2, 3}) {
        SCOPED_TRACE(kKeys[static_cast<std::size_t>(link)]);
        const auto cache = MVShaderCache::init();
        breakLink(link);
        const std::string reason = refusal(*cache);
        const std::string begin = std::string("the standard shader ") +
                                  kKeys[static_cast<std::size_t>(link)] +
                                  " cannot be used on this driver: ";
        EXPECT_THAT(reason, testing::StartsWith(begin));
        EXPECT_GT(reason.size(), begin.size());
        EXPECT_THAT(reason, testing::Not(HasSubstr("context")));
        EXPECT_EQ(cache->count(), static_cast<std::size_t>(link));
    }
}

TEST_F(MVShaderCacheTest, loadingThatFailedCanBeTriedAgain) {
    const auto cache = MVShaderCache::init();
    breakCompile(5);
    refusal(*cache);
    gl_->before("glCompileShader", nullptr);
    cache->loadDefaultShaders();
    EXPECT_EQ(cache->count(), 4U);
}

TEST_F(MVShaderCacheTest, withoutAnActiveContextLoadingStops) {
    const auto cache = MVShaderCache::init();
    MVRenderContext::mv_setActiveContext(nullptr);
    EXPECT_THAT(refusal(*cache), HasSubstr("there is no active GL context"));
    MVRenderContext::mv_setActiveContext(context_);
    EXPECT_EQ(cache->count(), 0U);
}

// The shared cache

TEST_F(MVShaderCacheTest, thereIsNoSharedCacheUntilOneIsRegistered) {
    EXPECT_EQ(MVShaderCache::sharedCache(), nullptr);
    const auto cache = MVShaderCache::init();
    EXPECT_EQ(MVShaderCache::sharedCache(), nullptr);
    MVShaderCache::mv_setSharedCache(cache);
    EXPECT_EQ(MVShaderCache::sharedCache(), cache);
    MVShaderCache::mv_setSharedCache(nullptr);
    EXPECT_EQ(MVShaderCache::sharedCache(), nullptr);
}

TEST_F(MVShaderCacheTest, theSharedCacheIsHeldWeaklyAndCanBeReplaced) {
    auto cache = loaded();
    auto second = cache;
    MVShaderCache::mv_setSharedCache(cache);
    cache.reset();
    EXPECT_EQ(MVShaderCache::sharedCache(), second) << "any holder keeps it alive";
    second.reset();
    EXPECT_EQ(MVShaderCache::sharedCache(), nullptr);

    const auto fresh = MVShaderCache::init();
    MVShaderCache::mv_setSharedCache(fresh);
    EXPECT_EQ(MVShaderCache::sharedCache(), fresh);
    EXPECT_EQ(MVShaderCache::sharedCache()->count(), 0U);
}

}  // namespace
