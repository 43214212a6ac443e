#include <epoxy/gl.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/render/MVPartialRedrawPrivate.h"
#include "MivoraMac/render/MVQuadBatchPrivate.h"

using Mivora::columnsOf;
using Mivora::Float4;
using Mivora::Float4x4;
using Mivora::platform::DebugLog;
using Mivora::platform::Drawable;
using Mivora::platform::PixelBox;
using Mivora::platform::PixelRegion;
using Mivora::platform::PixelSize;
using Kind = MVQuadEntry::Kind;

namespace {

/// A frame of more drawings is drawn as they come: the thread that draws need not wait for the one
/// that records, and what is kept from frame to frame stays small.
constexpr std::size_t kMostDrawings = 2048;

bool isSwitchedOff() {
    const char* const wanted = std::getenv("MIVORA_PARTIAL_REDRAW");
    return wanted != nullptr && std::string_view(wanted) == "0";
}

/// llvmpipe (Mesa 22.3) lets multisampled triangles cover samples of the pixels next to the scissor
/// box, but does not look at tiles of this size that lie beyond it.
constexpr int kTile = 64;

/// The tiles that a box has pixels in, as far as they are in the framebuffer.
PixelBox inTiles(const PixelBox& box, PixelSize all) {
    if (box.isEmpty()) {
        return box;
    }
    const auto roundedUp = [](int value) { return (value + kTile - 1) / kTile * kTile; };
    return {box.left / kTile * kTile, box.bottom / kTile * kTile,
            std::min(roundedUp(box.right), all.width), std::min(roundedUp(box.top), all.height)};
}

/// Whether clearing and drawing leaves nothing of what was there, within the scissor box or all of
/// the framebuffer.
bool isEverythingOverwritten() {
    std::array<GLboolean, 4> mask{};
    glGetBooleanv(GL_COLOR_WRITEMASK, mask.data());
    return std::all_of(mask.begin(), mask.end(), [](GLboolean on) { return on == GL_TRUE; });
}

std::uint64_t mixed(std::uint64_t hash, std::uint64_t word) {
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;  // 2^64 divided by the golden ratio
    const std::uint64_t product = (hash ^ word) * kOdd;
    return product ^ (product >> 32U);
}

/// Adds the bytes of a value that has no padding to a hash.
template <class Value>
std::uint64_t mixedWith(std::uint64_t hash, const Value& value) {
    static_assert(sizeof(Value) % sizeof(std::uint64_t) == 0);
    std::array<std::uint64_t, sizeof(Value) / sizeof(std::uint64_t)> words;
    std::memcpy(words.data(), &value, sizeof(Value));
    for (const std::uint64_t word : words) {
        hash = mixed(hash, word);
    }
    return hash;
}

/// What the scissor box and test are, to be set back.
class KeptScissor {
 public:
    KeptScissor() {
        glGetIntegerv(GL_SCISSOR_BOX, box_.data());
        glEnable(GL_SCISSOR_TEST);
    }
    ~KeptScissor() {
        glDisable(GL_SCISSOR_TEST);
        glScissor(box_[0], box_[1], box_[2], box_[3]);
    }
    KeptScissor(const KeptScissor&) = delete;
    KeptScissor& operator=(const KeptScissor&) = delete;

 private:
    std::array<GLint, 4> box_{};
};

}  // namespace

MVPartialRedraw::MVPartialRedraw(MVQuadBatch& batch,
                                 std::shared_ptr<Mivora::platform::GLContext> context)
    : batch_(batch), context_(std::move(context)), isOn_(!isSwitchedOff()) {}

MVPartialRedraw::~MVPartialRedraw() = default;

void MVPartialRedraw::begin(const std::shared_ptr<MVPartialRedraw>& self,
                            Mivora::ColorRGBA clearColor) {
    self->giveUp();
    Drawable& drawable = self->context_->drawable();
    glBindFramebuffer(GL_FRAMEBUFFER, drawable.beginFrame());
    glClearColor(clearColor.red, clearColor.green, clearColor.blue, clearColor.alpha);
    self->isHoldingBack_ = self->canHoldBack(clearColor);
    if (!self->isHoldingBack_) {
        self->clear();
    }
    self->isMarking_ = self->isOn_;
    self->isKnown_ = self->isHoldingBack_;
    self->clearColor_ = clearColor;
    self->otherWork_ = self->batch_.otherWork();
    self->timesBuilt_ = drawable.timesBuilt();
    self->projection_.reset();
    self->hadStencils_ = std::exchange(self->hasStencils_, false);
    self->marks_.clear();
    self->levels_.clear();
    self->held_.clear();
    self->boxes_.clear();
    self->batch_.setFrame(self);
}

/// Whether the frame that begins can be compared with the one before, and that is in the
/// framebuffer.
bool MVPartialRedraw::canHoldBack(Mivora::ColorRGBA clearColor) const {
    const Drawable& drawable = context_->drawable();
    const PixelSize size = drawable.builtSize();
    constexpr int kMost = std::numeric_limits<std::int16_t>::max();
    return isKnown_ && otherWork_ == batch_.otherWork() && timesBuilt_ == drawable.timesBuilt() &&
           clearColor_ == clearColor && batch_.isSoftware() && !batch_.isRefused() &&
           size.width <= kMost && size.height <= kMost &&
           glIsEnabled(GL_SCISSOR_TEST) == GL_FALSE && isEverythingOverwritten();
}

void MVPartialRedraw::clear() const {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    batch_.stencilCleared();
}

bool MVPartialRedraw::take(std::span<const MVQuadEntry> entries) {
    for (auto entry = entries.begin(); isMarking_ && entry != entries.end(); ++entry) {
        isMarking_ = mark(*entry);
    }
    if (!isHoldingBack_) {
        return false;
    }
    held_.insert(held_.end(), entries.begin(), entries.end());
    if (!isMarking_) {
        giveUp();
    }
    return true;
}

void MVPartialRedraw::giveUp() {
    if (!std::exchange(isHoldingBack_, false)) {
        return;
    }
    isMarking_ = false;
    isKnown_ = false;
    clear();
    batch_.drawAtOnce(held_);
    batch_.settle();
}

void MVPartialRedraw::end() {
    Drawable& drawable = context_->drawable();
    batch_.setFrame(nullptr);
    const bool isAlone = otherWork_ == batch_.otherWork();
    if (std::exchange(isHoldingBack_, false)) {
        const PixelRegion region = findChange();
        draw(region);
        drawable.endFrame(region);
    } else {
        drawable.endFrame();
    }
    isKnown_ = isMarking_ && isAlone;
    otherWork_ = batch_.otherWork();
    std::swap(before_, marks_);
}

void MVPartialRedraw::abandon() {
    giveUp();
    batch_.setFrame(nullptr);
    isKnown_ = false;
    context_->drawable().beginFrame();
}

void MVPartialRedraw::willShow() const {
    if (otherWork_ != batch_.otherWork()) {
        context_->drawable().forgetChange();
    }
}

// What differs

/// Takes note of what an entry draws.
/// @return false where there is too much
bool MVPartialRedraw::mark(const MVQuadEntry& entry) {
    if (boxes_.size() == kMostDrawings) {
        return false;
    }
    if (boxes_.empty()) {
        glGetIntegerv(GL_VIEWPORT, viewport_.data());
    }
    PixelBox& box = boxes_.emplace_back();
    switch (entry.kind) {
        case Kind::Projection:
            projection_ = columnsOf(entry.matrix);
            break;
        case Kind::BeginStencil:
            hasStencils_ = true;
            levels_.push_back({levels_.empty() ? hashOfViewport() : levels_.back().hash, PixelBox(),
                               true, boxes_.size() - 1});
            break;
        case Kind::LimitToStencil:
            if (!levels_.empty()) {
                Level& level = levels_.back();
                level.isShape = false;
                level.hash = mixed(level.hash, entry.stencilLevel);
                boxes_[level.begin] = level.box;
                if (levels_.size() > 1) {
                    level.box = level.box.intersection(levels_[levels_.size() - 2].box);
                }
            }
            break;
        case Kind::EndStencil:
            if (!levels_.empty()) {
                levels_.pop_back();
            }
            break;
        case Kind::Quad: {
            if (!projection_) {
                return false;
            }
            const Float4x4 matrix = product(*projection_, columnsOf(entry.matrix));
            box = boxOf(matrix, entry.size);
            markQuad(entry, box, matrix);
            break;
        }
        case Kind::BeginStencils:  // only what is drawn at once has these
        case Kind::Unseen:
            break;
    }
    return true;
}

std::uint64_t MVPartialRedraw::hashOfViewport() const {
    return mixedWith(0, viewport_);
}

void MVPartialRedraw::markQuad(const MVQuadEntry& entry, const PixelBox& box,
                               const Float4x4& matrix) {
    Level* const level = levels_.empty() ? nullptr : &levels_.back();
    std::uint64_t hash = level != nullptr ? level->hash : hashOfViewport();
    hash = mixedWith(hash, matrix);
    hash = mixedWith(hash, entry.size);
    if (level != nullptr && level->isShape) {
        level->hash = hash;
        level->box = level->box.around(box);
        return;
    }
    hash = mixedWith(hash, entry.tint);
    hash = mixedWith(hash, entry.textureCoordinates);
    hash = mixedWith(hash, entry.program);
    hash = mixed(hash, static_cast<std::uint64_t>(entry.texture) << 8U |
                           static_cast<std::uint64_t>(entry.blend));
    const PixelBox seen = level != nullptr ? box.intersection(level->box) : box;
    marks_.push_back({hash, static_cast<std::int16_t>(seen.left),
                      static_cast<std::int16_t>(seen.bottom), static_cast<std::int16_t>(seen.right),
                      static_cast<std::int16_t>(seen.top)});
}

/// The pixels that a quad may cover, those around them, and no others than the framebuffer has.
PixelBox MVPartialRedraw::boxOf(const Float4x4& matrix, Mivora::Size2 size) const {
    const PixelSize all = context_->drawable().builtSize();
    const PixelBox anywhere = {0, 0, all.width, all.height};
    const Float4 right = matrix.column[0] * size.width;
    const Float4 top = matrix.column[1] * size.height;
    const Float4 origin = matrix.column[3];
    constexpr float kFar = 1e6F;
    Float4 box = {kFar, kFar, -kFar, -kFar};  // left, bottom, right, top
    for (const Float4& corner : {origin, origin + right, origin + top, origin + right + top}) {
        constexpr float kLeast = 1e-6F;
        if (!(corner[3] > kLeast)) {
            return anywhere;  // it goes on behind the eye
        }
        for (int i = 0; i < 2; ++i) {
            const float pixels =
                static_cast<float>(viewport_[i]) +
                (corner[i] / corner[3] + 1) * 0.5F * static_cast<float>(viewport_[i + 2]);
            if (std::isnan(pixels)) {
                return anywhere;
            }
            box[i] = std::min(box[i], std::max(pixels, -kFar));
            box[i + 2] = std::max(box[i + 2], std::min(pixels, kFar));
        }
    }
    const auto clamped = [](float pixels, int most) {
        return std::clamp(static_cast<int>(pixels), 0, most);
    };
    return {clamped(std::floor(box[0]) - 1, all.width), clamped(std::floor(box[1]) - 1, all.height),
            clamped(std::ceil(box[2]) + 1, all.width), clamped(std::ceil(box[3]) + 1, all.height)};
}

/// Compares the frame with the one before, both in order. Where they differ, few quads may have
/// come or gone; else each stands for the one in its place.
PixelRegion MVPartialRedraw::findChange() const {
    constexpr std::ptrdiff_t kMostSkipped = 32;
    const auto isSame = [](const Mark& a, const Mark& b) { return a.hash == b.hash; };
    PixelRegion region;
    const auto add = [&region,
                      all = context_->drawable().builtSize()](std::span<const Mark> marks) {
        for (const Mark& mark : marks) {
            region.add(inTiles({mark.left, mark.bottom, mark.right, mark.top}, all));
        }
    };
    const auto [lastNow, lastThen] =
        std::mismatch(marks_.rbegin(), marks_.rend(), before_.rbegin(), before_.rend(), isSame);
    auto now = marks_.begin();
    auto then = before_.begin();
    const auto nowEnd = lastNow.base();
    const auto thenEnd = lastThen.base();
    while (now != nowEnd && then != thenEnd) {
        if (isSame(*now, *then)) {
            ++now;
            ++then;
            continue;
        }
        std::ptrdiff_t come = 1;
        std::ptrdiff_t gone = 1;
        for (std::ptrdiff_t i = 1; i <= kMostSkipped; ++i) {
            if (i < nowEnd - now && isSame(now[i], *then)) {
                come = i;
                gone = 0;
                break;
            }
            if (i < thenEnd - then && isSame(*now, then[i])) {
                come = 0;
                gone = i;
                break;
            }
        }
        add({now, now + come});
        add({then, then + gone});
        now += come;
        then += gone;
    }
    add({now, nowEnd});
    add({then, thenEnd});
    return region;
}

// Drawing

/// Draws the frame where it differs.
void MVPartialRedraw::draw(const PixelRegion& region) {
    // The frame before has left the depth buffer as clearing does, since it was all recorded.
    const GLbitfield buffers =
        GL_COLOR_BUFFER_BIT | (hasStencils_ || hadStencils_ ? GL_STENCIL_BUFFER_BIT : 0);
    {
        const KeptScissor kept;
        for (const PixelBox& box : region.boxes()) {
            DebugLog::log(DebugLog::Category::Frame, "drawn again: %d x %d pixels at %d, %d",
                          box.width(), box.height(), box.left, box.bottom);
            glScissor(box.left, box.bottom, box.width(), box.height());
            glClear(buffers);
            batch_.stencilClearedWithinScissor();
            drawWithin(box);
        }
        batch_.settle();
    }
    batch_.forgetStencil();
    if (region.isEmpty()) {
        drawWithin({});
        batch_.settle();
    }
}

/// Draws what has a pixel in the box, and has the rest leave its state.
void MVPartialRedraw::drawWithin(const PixelBox& box) {
    seen_ = held_;
    int levels = 0;  // those that are seen
    for (std::size_t i = 0; i < seen_.size(); ++i) {
        MVQuadEntry& entry = seen_[i];
        const bool isSeen = levels != 0 || boxes_[i].intersects(box);
        if (entry.kind == Kind::Quad && !isSeen) {
            entry.kind = Kind::Unseen;
        } else if (entry.kind == Kind::BeginStencil && !isSeen) {
            i = hideStencil(i);
        } else if (entry.kind == Kind::BeginStencil) {
            ++levels;
        } else if (entry.kind == Kind::EndStencil) {
            levels -= levels != 0 ? 1 : 0;
        }
    }
    batch_.drawAtOnce(seen_);
}

/// Hides a level that nothing is seen of, and all in it.
/// @return its end
std::size_t MVPartialRedraw::hideStencil(std::size_t begin) {
    glClearStencil(0);  // as beginning it does
    int levels = 0;
    for (std::size_t i = begin; i < seen_.size(); ++i) {
        Kind& kind = seen_[i].kind;
        levels += kind == Kind::BeginStencil ? 1 : kind == Kind::EndStencil ? -1 : 0;
        if (kind != Kind::Projection) {
            kind = Kind::Unseen;
        }
        if (levels == 0) {
            return i;
        }
    }
    return seen_.size() - 1;
}
