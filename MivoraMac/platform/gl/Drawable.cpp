#include "MivoraMac/platform/gl/Drawable.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "MivoraMac/platform/base/DebugLog.h"

namespace Mivora::platform {

Drawable::Drawable(int samples) : samples_(samples) {}

Drawable::~Drawable() = default;

void Drawable::setSize(PixelSize size) {
    const std::lock_guard lock(mutex_);
    wantedSize_ = {std::max(size.width, 0), std::max(size.height, 0)};
}

PixelSize Drawable::size() const {
    const std::lock_guard lock(mutex_);
    return wantedSize_;
}

std::uint32_t Drawable::framebuffer() {
    const PixelSize wanted = size();
    if (wanted != builtSize_) {
        build(wanted);
    }
    return framebuffer_;
}

void Drawable::build(PixelSize size) {
    releaseMultisampled();
    builtSize_ = size;
    if (size.width == 0 || size.height == 0) {
        return;
    }
    GLint maximum = 0;
    glGetIntegerv(GL_MAX_SAMPLES, &maximum);
    const GLint samples = samples_ > 1 ? std::min(samples_, maximum) : 0;

    glGenFramebuffers(1, &framebuffer_);
    glGenRenderbuffers(1, &colorBuffer_);
    glGenRenderbuffers(1, &depthStencilBuffer_);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
    glBindRenderbuffer(GL_RENDERBUFFER, colorBuffer_);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_RGBA8, size.width, size.height);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colorBuffer_);
    glBindRenderbuffer(GL_RENDERBUFFER, depthStencilBuffer_);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_DEPTH24_STENCIL8, size.width,
                                     size.height);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER,
                              depthStencilBuffer_);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    if (status != GL_FRAMEBUFFER_COMPLETE) {
        DebugLog::warn(DebugLog::Category::GL,
                       "no default framebuffer of %d x %d pixels, %d samples (status 0x%x)",
                       size.width, size.height, samples, status);
        releaseMultisampled();
    }
}

void Drawable::buildTarget(Target& target) {
    releaseTarget(target);
    target.size = builtSize_;
    glGenTextures(1, &target.texture);
    glBindTexture(GL_TEXTURE_2D, target.texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, target.size.width, target.size.height, 0, GL_RGBA,
                 GL_UNSIGNED_BYTE, nullptr);
    glBindTexture(GL_TEXTURE_2D, 0);
    glGenFramebuffers(1, &target.framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, target.framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, target.texture, 0);
}

void Drawable::flush() {
    if (framebuffer_ == 0) {
        return;
    }
    const std::size_t drawn = targetToDrawInto();
    Target& target = targets_[drawn];
    if (target.texture == 0 || target.size != builtSize_) {
        buildTarget(target);
    }
    // A blit obeys the scissor test and nothing else of the drawing state.
    const GLboolean scissored = glIsEnabled(GL_SCISSOR_TEST);
    if (scissored != GL_FALSE) {
        glDisable(GL_SCISSOR_TEST);
    }
    glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer_);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, target.framebuffer);
    glBlitFramebuffer(0, 0, builtSize_.width, builtSize_.height, 0, 0, builtSize_.width,
                      builtSize_.height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    if (scissored != GL_FALSE) {
        glEnable(GL_SCISSOR_TEST);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glFlush();

    newest_ = drawn;
    const std::lock_guard lock(mutex_);
    latest_ = {target.texture, target.size, latest_.serial + 1};
}

/// The next target in turn that nobody shows.
std::size_t Drawable::targetToDrawInto() {
    const std::lock_guard lock(mutex_);
    for (std::size_t i = 1; i < targets_.size(); ++i) {
        const std::size_t index = (newest_ + i) % targets_.size();
        if (std::find(held_.begin(), held_.end(), targets_[index].texture) == held_.end()) {
            return index;
        }
    }
    targets_.emplace_back();
    return targets_.size() - 1;
}

Drawable::Frame Drawable::latestFrame() const {
    const std::lock_guard lock(mutex_);
    return latest_;
}

Drawable::Frame Drawable::holdLatestFrame() {
    const std::lock_guard lock(mutex_);
    if (latest_.texture != 0) {
        held_.push_back(latest_.texture);
    }
    return latest_;
}

void Drawable::giveBack(const Frame& frame) {
    const std::lock_guard lock(mutex_);
    if (const auto place = std::find(held_.begin(), held_.end(), frame.texture);
        place != held_.end()) {
        held_.erase(place);
    }
}

Picture Drawable::readLatestFrame() const {
    const Target& target = targets_[newest_];
    if (latestFrame().texture == 0) {
        return {};
    }
    const auto rowBytes = static_cast<std::size_t>(target.size.width) * 4;
    const auto rows = static_cast<std::size_t>(target.size.height);
    std::vector<std::uint8_t> bottomUp(rowBytes * rows);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, target.framebuffer);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, target.size.width, target.size.height, GL_RGBA, GL_UNSIGNED_BYTE,
                 bottomUp.data());
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);

    Picture picture{target.size, std::vector<std::uint8_t>(bottomUp.size())};
    for (std::size_t row = 0; row < rows; ++row) {
        std::copy_n(bottomUp.begin() + static_cast<std::ptrdiff_t>((rows - 1 - row) * rowBytes),
                    rowBytes, picture.rgba.begin() + static_cast<std::ptrdiff_t>(row * rowBytes));
    }
    return picture;
}

void Drawable::releaseMultisampled() {
    if (framebuffer_ != 0) {
        glDeleteFramebuffers(1, &framebuffer_);
        glDeleteRenderbuffers(1, &colorBuffer_);
        glDeleteRenderbuffers(1, &depthStencilBuffer_);
    }
    framebuffer_ = colorBuffer_ = depthStencilBuffer_ = 0;
}

void Drawable::releaseTarget(Target& target) {
    if (target.texture != 0) {
        glDeleteFramebuffers(1, &target.framebuffer);
        glDeleteTextures(1, &target.texture);
    }
    target = {};
}

void Drawable::release() {
    releaseMultisampled();
    builtSize_ = {};
    for (Target& target : targets_) {
        releaseTarget(target);
    }
    const std::lock_guard lock(mutex_);
    latest_ = {};
    held_.clear();
}

}  // namespace Mivora::platform
