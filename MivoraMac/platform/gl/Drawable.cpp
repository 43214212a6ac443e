#include "MivoraMac/platform/gl/Drawable.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/pictures/ExtentCheckPrivate.h"

namespace Mivora::platform {

namespace {

GLint integer(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

/// Binds the framebuffers back that were bound when it was made.
class KeptFramebuffers {
 public:
    KeptFramebuffers() = default;
    ~KeptFramebuffers() {
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(draw_));
        glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(read_));
    }
    KeptFramebuffers(const KeptFramebuffers&) = delete;
    KeptFramebuffers& operator=(const KeptFramebuffers&) = delete;

 private:
    const GLint draw_ = integer(GL_DRAW_FRAMEBUFFER_BINDING);
    const GLint read_ = integer(GL_READ_FRAMEBUFFER_BINDING);
};

/// Sets an integer of the pixel storage, and sets it back.
class KeptPixelStore {
 public:
    KeptPixelStore(GLenum name, GLint value) : name_(name), before_(integer(name)) {
        glPixelStorei(name_, value);
    }
    ~KeptPixelStore() { glPixelStorei(name_, before_); }
    KeptPixelStore(const KeptPixelStore&) = delete;
    KeptPixelStore& operator=(const KeptPixelStore&) = delete;

 private:
    const GLenum name_;
    const GLint before_;
};

/// Copies these boxes from one framebuffer to another, and leaves them bound. A blit obeys the
/// scissor test and nothing else of the drawing state.
void copy(GLuint from, GLuint to, std::span<const PixelBox> boxes, PixelSize size) {
    if (boxes.empty()) {
        return;
    }
    const bool isScissored = glIsEnabled(GL_SCISSOR_TEST) == GL_TRUE;
    if (isScissored) {
        glDisable(GL_SCISSOR_TEST);
    }
    glBindFramebuffer(GL_READ_FRAMEBUFFER, from);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, to);
    for (const PixelBox& whole : boxes) {
        const PixelBox box = whole.intersection({0, 0, size.width, size.height});
        if (!box.isEmpty()) {
            glBlitFramebuffer(box.left, box.bottom, box.right, box.top, box.left, box.bottom,
                              box.right, box.top, GL_COLOR_BUFFER_BIT, GL_NEAREST);
        }
    }
    if (isScissored) {
        glEnable(GL_SCISSOR_TEST);
    }
}

std::size_t pixelCount(PixelSize size) {
    return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
}

}  // namespace

std::uint64_t Drawable::largestExtent() {
    return static_cast<std::uint64_t>(
        std::max(std::min(integer(GL_MAX_TEXTURE_SIZE), integer(GL_MAX_RENDERBUFFER_SIZE)), 0));
}

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
    keepToSize();
    forgetChange();
    return framebuffer_;
}

std::uint32_t Drawable::beginFrame() {
    keepToSize();
    isIncomplete_ = true;
    return framebuffer_;
}

void Drawable::endFrame() {
    isIncomplete_ = false;
    isResolvedDrawn_ = false;
    forgetChange();
}

void Drawable::endFrame(const PixelRegion& changed, std::span<const PixelBox> multisampled) {
    isIncomplete_ = false;
    if (std::exchange(isResolvedDrawn_, false)) {
        behind_.add(changed);
    }
    unresolved_.insert(unresolved_.end(), multisampled.begin(), multisampled.end());
    changed_.add(changed);
    if (change_ == Change::None) {
        change_ = Change::Known;
    }
    constexpr std::size_t kMostUnresolved = 64;  // though nobody flushes
    if (unresolved_.size() > kMostUnresolved) {
        bringForward({});
    }
}

void Drawable::forgetChange() {
    catchUp();
    change_ = Change::Unknown;
}

void Drawable::keepToSize() {
    const PixelSize wanted = size();
    if (wanted != builtSize_ || framebuffer_ == 0) {
        build(wanted);
    }
}

void Drawable::build(PixelSize size) {
    releaseMultisampled();
    builtSize_ = size;
    ++timesBuilt_;
    isPublished_ = false;
    if (size.width > 0 && size.height > 0 &&
        areExtentsBorne("default framebuffer", static_cast<std::uint64_t>(size.width),
                        static_cast<std::uint64_t>(size.height), largestExtent())) {
        const int samples = samples_ > 1 ? std::min(samples_, integer(GL_MAX_SAMPLES)) : 0;
        isPublished_ = buildMultisampled(size, samples);
    }
    if (!isPublished_) {
        buildMultisampled({1, 1}, 0);
    }
}

/// @return whether the driver can draw into it
bool Drawable::buildMultisampled(PixelSize size, int samples) {
    const KeptFramebuffers kept;
    const GLint renderbuffer = integer(GL_RENDERBUFFER_BINDING);
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
    glBindRenderbuffer(GL_RENDERBUFFER, static_cast<GLuint>(renderbuffer));
    const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (status == GL_FRAMEBUFFER_COMPLETE) {
        builtSamples_ = samples;
        return true;
    }
    DebugLog::warnOnce(DebugLog::Category::GL,
                       "no default framebuffer of %d x %d pixels, %d samples (status 0x%x)",
                       size.width, size.height, samples, status);
    releaseMultisampled();
    return false;
}

void Drawable::buildTarget(Target& target) {
    releaseTarget(target);
    target.size = builtSize_;
    const GLint texture = integer(GL_TEXTURE_BINDING_2D);
    glGenTextures(1, &target.texture);
    glBindTexture(GL_TEXTURE_2D, target.texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, target.size.width, target.size.height, 0, GL_RGBA,
                 GL_UNSIGNED_BYTE, nullptr);
    glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(texture));
    glGenFramebuffers(1, &target.framebuffer);
    const KeptFramebuffers kept;
    glBindFramebuffer(GL_FRAMEBUFFER, target.framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, target.texture, 0);
}

void Drawable::flush() {
    if (!isPublished_ || isIncomplete_) {
        return;
    }
    if (change_ != Change::Known) {
        forgetChange();
    }
    bringForward({});
    glFlush();
    change_ = Change::None;
    latestChange_ = std::exchange(changed_, {});
    newest_ = *std::exchange(next_, std::nullopt);
    for (Target& target : targets_) {
        target.stale.add(latestChange_);
    }
    Target& target = targets_[newest_];
    target.stale = {};
    const std::lock_guard lock(mutex_);
    latest_ = {target.texture, target.size, latest_.serial + 1};
}

std::uint32_t Drawable::resolvedFramebuffer(std::span<const PixelBox> overwritten) {
    isResolvedDrawn_ = true;
    return bringForward(overwritten).framebuffer;
}

void Drawable::catchUp() {
    if (!isBehind()) {
        return;
    }
    const Target& target = bringForward({});
    const KeptFramebuffers kept;
    copy(target.framebuffer, framebuffer_, behind_.boxes(), builtSize_);
    behind_ = {};
}

/// Brings the target that will be published up to date with the frames that have been ended: from
/// the one published last, and from the framebuffer what is nowhere else.
/// @param overwritten  where that may be left out
Drawable::Target& Drawable::bringForward(std::span<const PixelBox> overwritten) {
    if (!next_) {
        next_ = targetToDrawInto();
    }
    Target& target = targets_[*next_];
    if (target.texture == 0 || target.size != builtSize_) {
        buildTarget(target);
        target.stale = PixelRegion::whole(builtSize_);
    }
    if (change_ == Change::Unknown) {
        change_ = Change::Known;
        changed_ = PixelRegion::whole(builtSize_);
        unresolved_.assign(changed_.boxes().begin(), changed_.boxes().end());
    }
    const auto isWithin = [](const PixelBox& box, std::span<const PixelBox> boxes) {
        return std::any_of(boxes.begin(), boxes.end(), [&box](const PixelBox& other) {
            return box.intersection(other) == box;
        });
    };
    std::vector<PixelBox> copied;
    std::copy_if(target.stale.boxes().begin(), target.stale.boxes().end(),
                 std::back_inserter(copied), [&](const PixelBox& box) {
                     return !isWithin(box, unresolved_) && !isWithin(box, overwritten);
                 });
    target.stale = {};
    const KeptFramebuffers kept;
    copy(targets_[newest_].framebuffer, target.framebuffer, copied, builtSize_);
    copy(framebuffer_, target.framebuffer, unresolved_, builtSize_);
    unresolved_.clear();
    return target;
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
    const Frame latest = latestFrame();
    Picture picture{latest.size, {}};
    if (latest.texture != 0) {
        picture.rgba.resize(pixelCount(latest.size) * 4);
        read(targets_[newest_], GL_RGBA, GL_UNSIGNED_BYTE, picture.rgba.data());
    }
    return picture;
}

PixelSize Drawable::readLatestFrame(std::vector<std::uint32_t>& argb) const {
    const Frame latest = latestFrame();
    if (latest.texture != 0) {
        argb.resize(pixelCount(latest.size));
        read(targets_[newest_], GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, argb.data());
    }
    return latest.size;
}

/// Four bytes a pixel, the top row first, which GL gives last unless the driver can turn them
/// round.
void Drawable::read(const Target& target, std::uint32_t format, std::uint32_t type, void* pixels) {
    const bool turns = epoxy_has_gl_extension("GL_MESA_pack_invert");
    {
        const KeptFramebuffers kept;
        const KeptPixelStore topFirst(turns ? GL_PACK_INVERT_MESA : GL_PACK_ALIGNMENT, 1);
        const KeptPixelStore tightly(GL_PACK_ALIGNMENT, 1);
        const KeptPixelStore wholeRows(GL_PACK_ROW_LENGTH, 0);
        const KeptPixelStore allRows(GL_PACK_SKIP_ROWS, 0);
        const KeptPixelStore allPixels(GL_PACK_SKIP_PIXELS, 0);
        const GLint buffer = integer(GL_PIXEL_PACK_BUFFER_BINDING);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
        glBindFramebuffer(GL_READ_FRAMEBUFFER, target.framebuffer);
        glReadPixels(0, 0, target.size.width, target.size.height, static_cast<GLenum>(format),
                     static_cast<GLenum>(type), pixels);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, static_cast<GLuint>(buffer));
    }
    if (turns) {
        return;
    }
    const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(target.size.width) * 4;
    auto* top = static_cast<std::uint8_t*>(pixels);
    for (auto* bottom = top + row * (target.size.height - 1); top < bottom; bottom -= row) {
        std::swap_ranges(top, top + row, bottom);
        top += row;
    }
}

void Drawable::releaseMultisampled() {
    if (framebuffer_ != 0) {
        glDeleteFramebuffers(1, &framebuffer_);
        glDeleteRenderbuffers(1, &colorBuffer_);
        glDeleteRenderbuffers(1, &depthStencilBuffer_);
    }
    framebuffer_ = colorBuffer_ = depthStencilBuffer_ = 0;
    behind_ = {};
    unresolved_.clear();
    change_ = Change::Unknown;
    next_.reset();
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
    isPublished_ = false;
    for (Target& target : targets_) {
        releaseTarget(target);
    }
    const std::lock_guard lock(mutex_);
    latest_ = {};
    held_.clear();
}

}  // namespace Mivora::platform
