#pragma once

#include <array>
#include <memory>
#include <utility>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/gl/PixelFormat.h"

namespace Mivora::tests {

/// A context without GL behind it, that counts what it is asked to do.
class FakeGLContext : public platform::GLContext {
 public:
    static std::shared_ptr<platform::PixelFormat> format() {
        using platform::PixelFormat;
        constexpr std::array<std::uint32_t, 1> attributes = {PixelFormat::End};
        return PixelFormat::initWithAttributes(attributes);
    }
    static std::shared_ptr<FakeGLContext> create() { return MVMake<FakeGLContext>(format()); }

    ~FakeGLContext() override { releaseDrawable(); }

    bool canBecomeCurrent = true;
    int madeCurrent = 0;
    int cleared = 0;

 protected:
    friend struct ::MVMaker;
    explicit FakeGLContext(std::shared_ptr<platform::PixelFormat> format)
        : GLContext(std::move(format)) {}

    bool makeCurrent() override {
        ++madeCurrent;
        return canBecomeCurrent;
    }
    void clearCurrent() override { ++cleared; }
};

}  // namespace Mivora::tests
