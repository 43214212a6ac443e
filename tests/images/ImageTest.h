#pragma once

#include <epoxy/gl.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/platform/base/PropertyObservation.h"
#include "MivoraMac/platform/headless/HeadlessScreen.h"
#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/pictures/Picture.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/windows/Screen.h"
#include "tests/platform/base/TemporaryFolder.h"
#include "tests/platform/pictures/ImageFiles.h"
#include "tests/support/GLTest.h"

namespace Mivora::tests {

using Texts = std::vector<std::string>;
using Bitmap = std::shared_ptr<const platform::BitmapImage>;

inline std::string call(const char* name, std::vector<double> arguments) {
    return GLCall{name, std::move(arguments), {}, {}, {}}.text();
}

/// Gives the main screen a scale until the end of the scope.
class ScopedScreenScale {
 public:
    explicit ScopedScreenScale(double scale) : former_(screen().backingScaleFactor()) {
        screen().setBackingScaleFactor(scale);
    }
    ~ScopedScreenScale() { screen().setBackingScaleFactor(former_); }
    ScopedScreenScale(const ScopedScreenScale&) = delete;
    ScopedScreenScale& operator=(const ScopedScreenScale&) = delete;

 private:
    static platform::HeadlessScreen& screen() {
        return dynamic_cast<platform::HeadlessScreen&>(*platform::Screen::mainScreen());
    }
    double former_;
};

/// Notes the changes of an image's properties, as "will size" and "did size".
class ChangeLog : public platform::PropertyObserver {
 public:
    static std::shared_ptr<ChangeLog> of(MVImage& image) {
        auto log = std::make_shared<ChangeLog>();
        for (const char* key :
             {"size", "coordinateSystem", "coordinateSpace", "premultipliedAlpha", "updateIndex"}) {
            image.addObserver(log, key, platform::ObservableObject::Notify::WillAndDid);
        }
        return log;
    }
    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                     platform::ObservableObject& /*object*/,
                                                     platform::PropertyChange change,
                                                     void* /*context*/) override {
        seen.push_back((change == platform::PropertyChange::Will ? "will " : "did ") +
                       std::string(keyPath));
    }
    Texts seen;
};

/// What a completion block was told.
struct Completion {
    int calls = 0;
    std::shared_ptr<MVImage> image;
    bool success = false;
    bool onMainThread = false;

    MVImage::CompletionBlock block() {
        return [this](const std::shared_ptr<MVImage>& loaded, bool isLoaded) {
            ++calls;
            image = loaded;
            success = isLoaded;
            onMainThread = platform::MainThread::isMainThread();
        };
    }
    /// Runs the main loop until the block has been called.
    bool wait(int count = 1) const {
        return platform::MainThread::runUntil([&] { return calls >= count; }, 30);
    }
};

inline Bitmap bitmapOf(const platform::Picture& picture) {
    return platform::BitmapImage::createWithPicture(picture);
}

/// A bitmap of three bytes a pixel.
inline Bitmap opaqueBitmapOf(const platform::Picture& picture) {
    auto bytes = std::make_shared<std::vector<std::uint8_t>>();
    for (std::size_t i = 0; i < picture.rgba.size(); ++i) {
        if (i % 4 != 3) {
            bytes->push_back(picture.rgba[i]);
        }
    }
    return platform::BitmapImage::create(picture.size, platform::AlphaInfo::None,
                                         static_cast<std::size_t>(picture.size.width) * 3,
                                         std::shared_ptr<const std::uint8_t>(bytes, bytes->data()));
}

/// A test of images on a real GL context.
class ImageTest : public GLTest {
 protected:
    /// What is in an image's texture, the first row of its data first.
    platform::Picture textureOf(const MVImage& image) {
        platform::Picture picture;
        onQueue([&] {
            glBindTexture(GL_TEXTURE_2D, image.mv_texture());
            glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &picture.size.width);
            glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &picture.size.height);
            picture.rgba.resize(static_cast<std::size_t>(picture.size.width) *
                                static_cast<std::size_t>(picture.size.height) * 4);
            glPixelStorei(GL_PACK_ALIGNMENT, 1);
            glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, picture.rgba.data());
            glBindTexture(GL_TEXTURE_2D, 0);
        });
        return picture;
    }

    void expectTexture(const MVImage& image, const platform::Picture& expected) {
        const platform::Picture picture = textureOf(image);
        EXPECT_EQ(picture.size, expected.size);
        EXPECT_EQ(picture.rgba, expected.rgba);
    }

    GLenum glError() {
        GLenum error = GL_NO_ERROR;
        onQueue([&] { error = glGetError(); });
        return error;
    }

    /// The calls that upload pixels into a texture that is there.
    static Texts uploading(double texture, GLenum internalFormat, double width, double height,
                           GLenum format, bool hasData = true) {
        return {call("glBindTexture", {GL_TEXTURE_2D, texture}),
                call("glTexParameteri", {GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE}),
                call("glTexParameteri", {GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE}),
                call("glTexParameteri", {GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR}),
                call("glTexParameteri", {GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR}),
                call("glPixelStorei", {GL_UNPACK_ALIGNMENT, 1}),
                call("glTexImage2D", {GL_TEXTURE_2D, 0, double(internalFormat), width, height, 0,
                                      double(format), GL_UNSIGNED_BYTE, hasData ? 1.0 : 0.0}),
                call("glBindTexture", {GL_TEXTURE_2D, 0})};
    }

    /// As `uploading`, into a new texture.
    static Texts making(double texture, GLenum internalFormat, double width, double height,
                        GLenum format, bool hasData = true) {
        Texts texts = uploading(texture, internalFormat, width, height, format, hasData);
        texts.insert(texts.begin(), call("glGenTextures", {1, 1}));
        return texts;
    }

    TemporaryFolder folder_;
};

}  // namespace Mivora::tests
