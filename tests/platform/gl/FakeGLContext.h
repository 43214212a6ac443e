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
    static std::shared_ptr<FakeGLContext> create(
        const std::shared_ptr<platform::PixelFormat>& withFormat = format()) {
        return MVMake<FakeGLContext>(withFormat, std::make_shared<Native>());
    }
    /// One over the same native context as another.
    static std::shared_ptr<FakeGLContext> createBeside(const FakeGLContext& other) {
        return MVMake<FakeGLContext>(format(), other.native_);
    }

 private:
    struct Native : platform::NativeGLContext {
        bool canBecomeCurrent = true;
        int madeCurrent = 0;
        int cleared = 0;

     protected:
        bool makeCurrent() override {
            ++madeCurrent;
            return canBecomeCurrent;
        }
        void clearCurrent() override { ++cleared; }
    };

    friend struct ::MVMaker;
    FakeGLContext(std::shared_ptr<platform::PixelFormat> format,
                  const std::shared_ptr<Native>& native)
        : GLContext(std::move(format), native), native_(native) {}

    std::shared_ptr<Native> native_;

 public:
    bool& canBecomeCurrent = native_->canBecomeCurrent;
    int& madeCurrent = native_->madeCurrent;
    int& cleared = native_->cleared;
};

}  // namespace Mivora::tests
