#include <epoxy/gl.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>
#include <utility>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/render/MVPartialRedrawPrivate.h"
#include "MivoraMac/render/MVQuadBatchPrivate.h"
#include "MivoraMac/render/MVQuadBoxPrivate.h"

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
/// the framebuffer, and an opaque quad nothing of what it covers.
bool isEverythingOverwritten() {
    std::array<GLboolean, 4> mask{};
    std::array<GLint, 2> fill{};  // core contexts give one
    glGetBooleanv(GL_COLOR_WRITEMASK, mask.data());
    glGetIntegerv(GL_POLYGON_MODE, fill.data());
    constexpr std::array<GLenum, 8> kInTheWay = {
        GL_SCISSOR_TEST,       GL_STENCIL_TEST,   GL_CULL_FACE,
        GL_RASTERIZER_DISCARD, GL_COLOR_LOGIC_OP, GL_SAMPLE_ALPHA_TO_COVERAGE,
        GL_SAMPLE_COVERAGE,    GL_SAMPLE_MASK,
    };
    return fill[0] == GL_FILL &&
           std::all_of(mask.begin(), mask.end(), [](GLboolean on) { return on == GL_TRUE; }) &&
           std::none_of(kInTheWay.begin(), kInTheWay.end(),
                        [](GLenum name) { return glIsEnabled(name) == GL_TRUE; });
}

/// Whether all pixels of a quad have its colour, whatever was there.
bool isOpaque(const MVQuadEntry& entry) {
    return entry.program.samplerUniform < 0 &&
           (entry.blend == MVQuadBlend::Off || entry.tint.alpha == 1.0F);
}

/// Takes the pixels of one box away from others that it spans from side to side: that leaves two
/// parts of each, at most.
void subtract(std::vector<PixelBox>& boxes, const PixelBox& taken) {
    std::vector<PixelBox> left;
    for (const PixelBox& box : boxes) {
        const PixelBox both = box.intersection(taken);
        std::array<PixelBox, 2> parts = {box, PixelBox()};
        if (!both.isEmpty() && both.width() == box.width()) {
            parts = {PixelBox{box.left, box.bottom, box.right, both.bottom},
                     PixelBox{box.left, both.top, box.right, box.top}};
        } else if (!both.isEmpty() && both.height() == box.height()) {
            parts = {PixelBox{box.left, box.bottom, both.left, box.top},
                     PixelBox{both.right, box.bottom, box.right, box.top}};
        }
        std::copy_if(parts.begin(), parts.end(), std::back_inserter(left),
                     [](const PixelBox& part) { return !part.isEmpty(); });
    }
    boxes.swap(left);
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
    self->isMarking_ = self->isOn_ && self->batch_.isSoftware();
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
    self->covers_.clear();
    self->batch_.setFrame(self);
}

/// Whether the frame that begins can be compared with the one before, and that is in the
/// framebuffer.
bool MVPartialRedraw::canHoldBack(Mivora::ColorRGBA clearColor) const {
    const Drawable& drawable = context_->drawable();
    const PixelSize size = drawable.builtSize();
    constexpr int kMost = std::numeric_limits<std::int16_t>::max();
    return isKnown_ && otherWork_ == batch_.otherWork() && timesBuilt_ == drawable.timesBuilt() &&
           clearColor_ == clearColor && !batch_.isRefused() && size.width <= kMost &&
           size.height <= kMost && isEverythingOverwritten();
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
            if (isHoldingBack_ && levels_.empty() && isOpaque(entry)) {
                covers_.push_back(coverOf(matrix, entry.size));
            }
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

/// Where a point in normalised device coordinates comes to lie, in pixels.
/// @param axis  0 for x, 1 for y
float MVPartialRedraw::pixelsOf(float coordinate, std::size_t axis) const {
    return static_cast<float>(viewport_[axis]) +
           (coordinate + 1) * 0.5F * static_cast<float>(viewport_[axis + 2]);
}

/// A box of the pixels between these edges, no others than the framebuffer has.
PixelBox MVPartialRedraw::between(float left, float bottom, float right, float top) const {
    const PixelSize all = context_->drawable().builtSize();
    const auto clamped = [](float pixels, int most) {
        return static_cast<int>(std::clamp(pixels, 0.0F, static_cast<float>(most)));
    };
    return {clamped(left, all.width), clamped(bottom, all.height), clamped(right, all.width),
            clamped(top, all.height)};
}

/// The pixels that a quad may cover, and those around them.
PixelBox MVPartialRedraw::boxOf(const Float4x4& matrix, Mivora::Size2 size) const {
    const std::optional<MVQuadBox> box = MVQuadBox::of(matrix, size);
    if (!box) {
        const PixelSize all = context_->drawable().builtSize();
        return {0, 0, all.width, all.height};
    }
    return between(std::floor(pixelsOf(box->left, 0)) - 1, std::floor(pixelsOf(box->bottom, 1)) - 1,
                   std::ceil(pixelsOf(box->right, 0)) + 1, std::ceil(pixelsOf(box->top, 1)) + 1);
}

/// The pixels that an upright quad covers with all their samples; none of other quads.
PixelBox MVPartialRedraw::coverOf(const Float4x4& matrix, Mivora::Size2 size) const {
    // The outermost of four samples lie an eighth of a pixel within its edge.
    constexpr float kSlack = 1.0F / 16;
    constexpr float kUpright = 1.0F / 64;
    std::array<std::array<float, 4>, 2> place{};  // of each corner, in pixels
    for (std::size_t i = 0; i < 4; ++i) {
        const Float4 corner = (matrix.column[0] * (i % 2 != 0 ? size.width : 0.0F) +
                               matrix.column[1] * (i / 2 != 0 ? size.height : 0.0F)) +
                              matrix.column[3];
        if (!(std::abs(corner[2]) < corner[3])) {
            return {};
        }
        for (std::size_t axis = 0; axis < 2; ++axis) {
            place[axis][i] = pixelsOf(corner[static_cast<int>(axis)] / corner[3], axis);
        }
    }
    const auto& [x, y] = place;
    const auto isClose = [](float a, float b) { return std::abs(a - b) <= kUpright; };
    if (!isClose(x[0], x[2]) || !isClose(x[1], x[3]) || !isClose(y[0], y[1]) ||
        !isClose(y[2], y[3])) {
        return {};
    }
    return between(std::ceil(std::min(x[0], x[1]) + kUpright - kSlack),
                   std::ceil(std::min(y[0], y[2]) + kUpright - kSlack),
                   std::floor(std::max(x[0], x[1]) - kUpright + kSlack),
                   std::floor(std::max(y[0], y[2]) - kUpright + kSlack));
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
    const auto limitTo = [](const PixelBox& box) {
        glScissor(box.left, box.bottom, box.width(), box.height());
    };
    {
        const KeptScissor kept;
        for (const PixelBox& box : region.boxes()) {
            DebugLog::log(DebugLog::Category::Frame, "drawn again: %d x %d pixels at %d, %d",
                          box.width(), box.height(), box.left, box.bottom);
            // The depth buffer is as clearing leaves it: all of the frame before was recorded.
            for (const PixelBox& part : uncovered(box)) {
                limitTo(part);
                glClear(GL_COLOR_BUFFER_BIT);
            }
            limitTo(box);
            if (hasStencils_ || hadStencils_) {
                glClear(GL_STENCIL_BUFFER_BIT);
            }
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

/// The parts of a box that have to be cleared, since what was there may be seen through the frame;
/// all of it where that is not much more.
std::vector<PixelBox> MVPartialRedraw::uncovered(const PixelBox& box) const {
    constexpr std::size_t kMostParts = 8;
    std::vector<PixelBox> parts = {box};
    for (const PixelBox& cover : covers_) {
        subtract(parts, cover);
    }
    int pixels = 0;
    for (const PixelBox& part : parts) {
        pixels += part.width() * part.height();
    }
    return parts.size() > kMostParts || pixels > box.width() * box.height() / 2
               ? std::vector<PixelBox>{box}
               : parts;
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
