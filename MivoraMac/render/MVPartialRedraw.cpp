#include <epoxy/gl.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <numeric>
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

/// Takes the pixels of one box away from others: that leaves four parts of each, at most.
void subtract(std::vector<PixelBox>& boxes, const PixelBox& taken) {
    std::vector<PixelBox> left;
    for (const PixelBox& box : boxes) {
        const PixelBox both = box.intersection(taken);
        if (both.isEmpty()) {
            left.push_back(box);
            continue;
        }
        for (const PixelBox& part : {PixelBox{box.left, box.bottom, box.right, both.bottom},
                                     PixelBox{box.left, both.top, box.right, box.top},
                                     PixelBox{box.left, both.bottom, both.left, both.top},
                                     PixelBox{both.right, both.bottom, box.right, both.top}}) {
            if (!part.isEmpty()) {
                left.push_back(part);
            }
        }
    }
    boxes.swap(left);
}

int areaOf(const PixelBox& box) {
    return box.width() * box.height();
}

int areaOf(const std::vector<PixelBox>& boxes) {
    return std::accumulate(boxes.begin(), boxes.end(), 0,
                           [](int area, const PixelBox& box) { return area + areaOf(box); });
}

void scissor(const PixelBox& box) {
    glScissor(box.left, box.bottom, box.width(), box.height());
}

/// Limits drawing to a box, and tells a developer.
void limitTo(const PixelBox& box, const char* remark) {
    DebugLog::log(DebugLog::Category::Frame, "drawn again: %d x %d pixels at %d, %d%s", box.width(),
                  box.height(), box.left, box.bottom, remark);
    scissor(box);
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
    self->edges_.reset(drawable.builtSize());
    std::swap(self->stencils_, self->stencilsBefore_);
    self->stencils_.reset(drawable.builtSize());
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
    Drawable& drawable = context_->drawable();
    if (drawable.isBehind()) {
        isEverythingOverwritten() ? drawable.neverMindCatchingUp() : drawable.catchUp();
    }
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
    const std::shared_ptr<MVPartialRedraw> self = batch_.frame();
    batch_.setFrame(nullptr);
    const bool isAlone = otherWork_ == batch_.otherWork();
    if (std::exchange(isHoldingBack_, false)) {
        const PixelRegion region = findChange();
        const Parts parts = partsOf(region);
        draw(parts);
        drawable.endFrame(region, parts.multisampled);
        if (drawable.isBehind()) {
            batch_.expectCatchUp(self);
        }
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

void MVPartialRedraw::catchUp() const {
    context_->drawable().catchUp();
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
            markPlace(entry, box, matrix);
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

/// Takes note of where a quad parts pixels, and of which ones it covers.
void MVPartialRedraw::markPlace(const MVQuadEntry& entry, const PixelBox& box,
                                const Float4x4& matrix) {
    if (!levels_.empty()) {
        if (levels_.back().isShape) {
            stencils_.add(box);
        }
        return;
    }
    if (!isHoldingBack_) {
        return;
    }
    const auto quad = MVPixelQuad::of(matrix, entry.size, viewport_);
    if (!quad) {
        edges_.add(box);
        return;
    }
    edges_.addEdges(*quad);
    if (isOpaque(entry)) {
        covers_.push_back(
            {quad->cover().intersection(viewport()).intersection(all()), boxes_.size() - 1});
    }
}

/// The whole framebuffer.
PixelBox MVPartialRedraw::all() const {
    const PixelSize size = context_->drawable().builtSize();
    return {0, 0, size.width, size.height};
}

PixelBox MVPartialRedraw::viewport() const {
    return {viewport_[0], viewport_[1], viewport_[0] + viewport_[2], viewport_[1] + viewport_[3]};
}

/// The pixels that a quad may cover, and those around them.
PixelBox MVPartialRedraw::boxOf(const Float4x4& matrix, Mivora::Size2 size) const {
    const std::optional<MVQuadBox> box = MVQuadBox::of(matrix, size);
    if (!box) {
        return all();
    }
    const auto x = [this](float coordinate) {
        return MVPixelQuad::pixelsOf(coordinate, viewport_[0], viewport_[2]);
    };
    const auto y = [this](float coordinate) {
        return MVPixelQuad::pixelsOf(coordinate, viewport_[1], viewport_[3]);
    };
    const PixelBox seen = PixelBox{static_cast<int>(std::floor(x(box->left))) - 1,
                                   static_cast<int>(std::floor(y(box->bottom))) - 1,
                                   static_cast<int>(std::ceil(x(box->right))) + 1,
                                   static_cast<int>(std::ceil(y(box->top))) + 1}
                              .intersection(all());
    return seen.isEmpty() ? PixelBox() : seen;
}

/// Compares the frame with the one before, both in order. Where they differ, few quads may have
/// come or gone; else each stands for the one in its place.
PixelRegion MVPartialRedraw::findChange() const {
    constexpr std::ptrdiff_t kMostSkipped = 32;
    const auto isSame = [](const Mark& a, const Mark& b) { return a.hash == b.hash; };
    PixelRegion region;
    const auto add = [&region,
                      size = context_->drawable().builtSize()](std::span<const Mark> marks) {
        for (const Mark& mark : marks) {
            region.add(MVTileSet::around({mark.left, mark.bottom, mark.right, mark.top}, size));
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

/// Parts what is to be drawn by whether edges lie across pixels: unless little is gained.
MVPartialRedraw::Parts MVPartialRedraw::partsOf(const PixelRegion& region) const {
    constexpr std::size_t kMostParts = 8;
    Parts parts;
    const bool isPossible = context_->drawable().isMultisampled() && viewport() == all();
    MVTileSet multisampled = edges_;
    multisampled.add(stencils_);
    multisampled.add(stencilsBefore_);
    for (const PixelBox& box : region.boxes()) {
        std::vector<PixelBox> resolved;
        if (isPossible) {
            resolved = {box};
        }
        const PixelRegion edges = multisampled.within(box);
        for (const PixelBox& taken : edges.boxes()) {
            subtract(resolved, taken);
        }
        if (resolved.size() > kMostParts || 4 * areaOf(resolved) < areaOf(box)) {
            parts.multisampled.push_back(box);
            continue;
        }
        parts.multisampled.insert(parts.multisampled.end(), edges.boxes().begin(),
                                  edges.boxes().end());
        parts.resolved.insert(parts.resolved.end(), resolved.begin(), resolved.end());
    }
    return parts;
}

/// Draws the frame where it differs.
void MVPartialRedraw::draw(const Parts& parts) {
    GLint framebuffer = 0;
    std::uint32_t resolved = 0;
    if (!parts.resolved.empty()) {
        glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &framebuffer);
        resolved = context_->drawable().resolvedFramebuffer(parts.resolved);
    }
    {
        const KeptScissor kept;
        for (const PixelBox& box : parts.multisampled) {
            drawMultisampled(box);
        }
        batch_.settle();
        if (!parts.resolved.empty()) {
            glBindFramebuffer(GL_FRAMEBUFFER, resolved);
            for (const PixelBox& box : parts.resolved) {
                drawResolved(box);
            }
            batch_.settle();
            glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(framebuffer));
        }
    }
    batch_.forgetStencil();
    if (parts.multisampled.empty() && parts.resolved.empty()) {
        drawWithin({});
        batch_.settle();
    }
}

void MVPartialRedraw::drawMultisampled(const PixelBox& box) {
    limitTo(box, "");
    // The depth buffer is as clearing leaves it: all of the frame before was recorded.
    clearUncovered(box);
    if (hasStencils_ || hadStencils_) {
        glClear(GL_STENCIL_BUFFER_BIT);
    }
    batch_.stencilClearedWithinScissor();
    drawWithin(box, coverOf(box).value_or(0));
}

void MVPartialRedraw::drawResolved(const PixelBox& box) {
    limitTo(box, ", where no edge parts a pixel");
    std::size_t first = 0;
    if (const std::optional<std::size_t> cover = coverOf(box)) {
        first = *cover;
        if (box == all()) {
            // Faster than to draw it, as long as nothing limits it.
            const Mivora::ColorRGBA& color = held_[first++].tint;
            glDisable(GL_SCISSOR_TEST);
            glClearColor(color.red, color.green, color.blue, color.alpha);
            glClear(GL_COLOR_BUFFER_BIT);
            glClearColor(clearColor_.red, clearColor_.green, clearColor_.blue, clearColor_.alpha);
            glEnable(GL_SCISSOR_TEST);
        }
    } else {
        clearUncovered(box);
    }
    drawWithin(box, first);
}

/// The last quad that leaves nothing to be seen in a box of what is below it.
std::optional<std::size_t> MVPartialRedraw::coverOf(const PixelBox& box) const {
    const auto found = std::find_if(covers_.rbegin(), covers_.rend(), [&box](const Cover& cover) {
        return cover.box.intersection(box) == box;
    });
    return found != covers_.rend() ? std::optional(found->entry) : std::nullopt;
}

/// Clears what may be seen through the frame, with the scissor box limited to `box`.
void MVPartialRedraw::clearUncovered(const PixelBox& box) const {
    for (const PixelBox& part : uncovered(box)) {
        scissor(part);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    scissor(box);
}

/// The parts of a box that have to be cleared, since what was there may be seen through the frame;
/// all of it where that is not much more.
std::vector<PixelBox> MVPartialRedraw::uncovered(const PixelBox& box) const {
    constexpr std::size_t kMostParts = 8;
    std::vector<PixelBox> parts = {box};
    for (const Cover& cover : covers_) {
        subtract(parts, cover.box);
        if (parts.size() > kMostParts) {
            return {box};
        }
    }
    return areaOf(parts) > areaOf(box) / 2 ? std::vector<PixelBox>{box} : parts;
}

/// Draws what has a pixel in the box, from the given one on, and has the rest leave its state.
void MVPartialRedraw::drawWithin(const PixelBox& box, std::size_t first) {
    seen_ = held_;
    int levels = 0;  // those that are seen
    for (std::size_t i = 0; i < seen_.size(); ++i) {
        MVQuadEntry& entry = seen_[i];
        const bool isSeen = levels != 0 || (i >= first && boxes_[i].intersects(box));
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
