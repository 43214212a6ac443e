#pragma once

#include <memory>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/gl/NativeGLContext.h"

namespace Mivora::platform {

/// A native context without a surface of its own, from EGL.
class HeadlessGLContext : public NativeGLContext {
 public:
    /// @return null, and a line in the log, where EGL has none to give
    static std::shared_ptr<HeadlessGLContext> create();
    ~HeadlessGLContext() override;

 protected:
    bool makeCurrent() override;
    void clearCurrent() override;

 private:
    friend struct ::MVMaker;
    /// @param context  an EGLContext, owned from here on
    explicit HeadlessGLContext(void* context);

    void* context_;
};

}  // namespace Mivora::platform
