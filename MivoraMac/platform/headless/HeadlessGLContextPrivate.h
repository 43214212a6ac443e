#pragma once

#include <memory>

#include "MivoraMac/platform/gl/GLContext.h"

namespace Mivora::platform {

/// A GL context without a surface of its own, from EGL.
class HeadlessGLContext : public GLContext {
 public:
    static std::shared_ptr<HeadlessGLContext> create(const std::shared_ptr<PixelFormat>& format,
                                                     const std::shared_ptr<GLContext>& share);
    ~HeadlessGLContext() override;

 protected:
    bool makeCurrent() override;
    void clearCurrent() override;

 private:
    friend struct ::MVMaker;
    /// @param context  an EGLContext, owned from here on
    HeadlessGLContext(std::shared_ptr<PixelFormat> format, void* context);

    void* context_;
};

}  // namespace Mivora::platform
