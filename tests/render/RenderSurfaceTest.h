#pragma once

#include <epoxy/gl.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVRenderSurfaceBuffer.h"
#include "tests/support/GLTest.h"

namespace Mivora::tests {

using Texts = std::vector<std::string>;
using Buffer = std::shared_ptr<MVRenderSurfaceBuffer>;

inline constexpr Size2I kSize = {8, 4};

// What the driver is expected to get, as `GLCallRecorder::texts` has it

inline std::string call(const char* name, std::vector<double> arguments) {
    return GLCall{name, std::move(arguments), {}, {}, {}}.text();
}

inline Texts join(std::initializer_list<Texts> parts) {
    Texts all;
    for (const Texts& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

inline Texts making(double renderbuffer, GLenum format, Size2I size) {
    return {call("glGenRenderbuffers", {1, 1}),
            call("glBindRenderbuffer", {GL_RENDERBUFFER, renderbuffer}),
            call("glRenderbufferStorage",
                 {GL_RENDERBUFFER, double(format), double(size.width), double(size.height)})};
}

inline Texts attaching(double framebuffer, GLenum attachment, double renderbuffer) {
    return {call("glBindFramebuffer", {GL_FRAMEBUFFER, framebuffer}),
            call("glBindRenderbuffer", {GL_RENDERBUFFER, renderbuffer}),
            call("glFramebufferRenderbuffer",
                 {GL_FRAMEBUFFER, double(attachment), GL_RENDERBUFFER, renderbuffer})};
}

inline Texts detaching(double framebuffer, GLenum attachment) {
    return {call("glBindFramebuffer", {GL_FRAMEBUFFER, framebuffer}),
            call("glFramebufferRenderbuffer",
                 {GL_FRAMEBUFFER, double(attachment), GL_RENDERBUFFER, 0})};
}

inline const Texts kChecking = {call("glCheckFramebufferStatus", {GL_FRAMEBUFFER})};

inline Texts checking(double framebuffer) {
    return {call("glBindFramebuffer", {GL_FRAMEBUFFER, framebuffer}), kChecking[0]};
}

inline Texts clearing(double framebuffer, ColorRGBA color = ColorRGBA::kClear) {
    return {call("glBindFramebuffer", {GL_FRAMEBUFFER, framebuffer}),
            call("glColorMask", {1, 1, 1, 1}),
            call("glDepthMask", {1}),
            call("glStencilMask", {4294967295.0}),
            call("glClearColor", {color.red, color.green, color.blue, color.alpha}),
            call("glClear", {GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT})};
}

inline Texts viewport(int x, int y, int width, int height) {
    return {call("glViewport", {double(x), double(y), double(width), double(height)})};
}

/// All that a render without changes does.
inline Texts rendering(double framebuffer, Size2I size) {
    return join({clearing(framebuffer), viewport(0, 0, size.width, size.height)});
}

inline const Texts kFlushing = {call("glFlush", {})};

/// A buffer that notes what it is told, and whose size can change.
class ObservedBuffer : public MVRenderSurfaceBuffer {
 public:
    ObservedBuffer(std::string name, Texts* told, Size2I size)
        : name_(std::move(name)), told_(told) {
        mv_setStorageSize(size);
    }
    using MVRenderSurfaceBuffer::mv_setStorageSize;
    void renderSurfaceDidRenderToBuffer(MVRenderSurface& surface) override {
        surface_ = &surface;
        told_->push_back(name_);
    }
    const MVRenderSurface* surface() const { return surface_; }

 private:
    std::string name_;
    Texts* told_;
    const MVRenderSurface* surface_ = nullptr;
};

/// On a driver that accepts separate depth and stencil storage.
class RenderSurfaceTest : public GLTest {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        gl_->overrideResult("glCheckFramebufferStatus", GL_FRAMEBUFFER_COMPLETE);
    }

    static Buffer buffer(Size2I size, GLenum format = GL_RGBA8) {
        return MVRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat(size,
                                                                                        format, 0);
    }

    std::shared_ptr<ObservedBuffer> observedBuffer(const char* name, Size2I size = kSize) {
        return MVMake<ObservedBuffer>(name, &told_, size);
    }

    /// The name of the object made last by a `glGen…` function.
    double last(const char* function) {
        finish();
        return gl_->callsOf(function).back().names.at(0);
    }

    /// A surface that has been rendered to once, and its GL names.
    struct Built {
        std::shared_ptr<MVRenderSurface> surface;
        double framebuffer;
        double color;
        double depth;
        double stencil;
    };

    Built built(Size2I size = kSize) {
        Built made = {MVRenderSurface::init(), last("glGenFramebuffers"), 0, 0, 0};
        made.surface->setColorBuffer(buffer(size));
        made.surface->renderBlock([] {});
        finish();
        const auto names = gl_->callsOf("glGenRenderbuffers");
        made.color = names.at(names.size() - 3).names.at(0);
        made.depth = names.at(names.size() - 2).names.at(0);
        made.stencil = names.at(names.size() - 1).names.at(0);
        gl_->clear();
        return made;
    }

    /// The calls made by `action` and all that it queues.
    template <class Action>
    Texts callsOf(Action&& action) {
        finish();
        gl_->clear();
        action();
        finish();
        return gl_->texts();
    }

    Texts render(const std::shared_ptr<MVRenderSurface>& surface) {
        return callsOf([&] { surface->renderBlock([] {}); });
    }

    Texts told_;
};

}  // namespace Mivora::tests
