#include "MivoraMac/views/MVFilterView.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "MivoraMac/geometry/MVMath.h"
#include "MivoraMac/images/MVFilter.h"
#include "MivoraMac/images/MVImageRenderSurfaceBuffer.h"
#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/render/MVQuadRecorderPrivate.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/render/MVShaderPositionTextureUniformColor.h"
#include "MivoraMac/views/MVFilterStagePrivate.h"
#include "MivoraMac/views/MVQuadPrivate.h"

using Mivora::platform::AtEnd;
using Mivora::platform::ObservableObject;
using Mivora::platform::PropertyChange;
using Mivora::platform::PropertyObserver;

namespace {

/// Farther from the origin, or larger, is nothing that can be drawn.
constexpr float kMostPixels = 1 << 20;

/// The side of the largest viewport that every driver can be expected to have.
constexpr std::int32_t kMostViewportPixels = 16384;

/// Sizes that differ by less are the same one, seen from elsewhere.
constexpr float kSameSize = 1.0F / 16.0F;

bool isPixel(float pixels) {
    return std::abs(pixels) < kMostPixels;
}

/// Truncated; 0 for what is none.
std::int32_t wholePixels(float pixels) {
    return isPixel(pixels) ? static_cast<std::int32_t>(pixels) : 0;
}

/// The whole pixels between two corners, in either order; empty where one of them is nowhere.
Mivora::Rect2I pixelsBetween(Mivora::Point3 a, Mivora::Point3 b) {
    if (!isPixel(a.x) || !isPixel(a.y) || !isPixel(b.x) || !isPixel(b.y)) {
        return Mivora::Rect2I::kZero;
    }
    const auto [left, right] =
        std::minmax({wholePixels(std::round(a.x)), wholePixels(std::round(b.x))});
    const auto [bottom, top] =
        std::minmax({wholePixels(std::round(a.y)), wholePixels(std::round(b.y))});
    return {{left, bottom}, {right - left, top - bottom}};
}

}  // namespace

std::shared_ptr<MVFilterView> MVFilterView::init() {
    return MVMake<MVFilterView>();
}

MVFilterView::MVFilterView()
    : presence_(std::make_shared<char>()),
      surface_(MVRenderSurface::init()),
      squareWindow_(MVWindow::mv_initWithOwner(as<MVWindowOwner>())),
      quad_(std::make_unique<MVTextureQuad>()),
      filterStage_(std::make_unique<MVFilterStage>()) {
    surface_->setMultisampleFormat(0);
    squareWindow_->setMv_surface(surface_);
    if (const auto cache = MVShaderCache::sharedCache()) {
        shader_ = cache->shaderForKeyAs<MVShaderPositionTextureUniformColor>(
            "MVShaderPositionTextureUniformColor");
    }
}

MVFilterView::~MVFilterView() {
    presence_.reset();
    if (const auto& filter = filterStage_->filter()) {
        filter->removeFilterObserver(this);
    }
    mv_setParentWindow(nullptr);
    if (quad_->context()) {
        // What was drawn into the surface is still queued, and needs its framebuffer.
        quad_->context()->dispatchBlock(
            [surface = std::move(surface_), buffer = std::move(imageBuffer_)] {});
    }
}

std::shared_ptr<MVWindow> MVWindow::initWithFilterView(
    const std::shared_ptr<MVFilterView>& filterView) {
    return mv_initWithOwner(filterView ? filterView->as<MVWindowOwner>() : nullptr);
}

std::shared_ptr<MVFilterView> MVWindow::mv_filterView() const {
    const std::shared_ptr<MVWindowOwner> owner = mv_owner();
    auto* const view = dynamic_cast<MVFilterView*>(owner.get());
    return view != nullptr ? std::static_pointer_cast<MVFilterView>(view->weak_from_this().lock())
                           : nullptr;
}

/// This view, as those hold it who know it weakly: also while nobody owns it yet.
template <class Role>
std::shared_ptr<Role> MVFilterView::as() {
    return std::shared_ptr<Role>(presence_, this);
}

// Filter

const std::shared_ptr<MVFilter>& MVFilterView::filter() const {
    return filterStage_->filter();
}

void MVFilterView::setFilter(const std::shared_ptr<MVFilter>& filter) {
    if (filterStage_->setFilter(filter, as<MVFilterObserver>())) {
        setNeedsDraw();
    }
}

void MVFilterView::filterDidChange(const std::shared_ptr<MVFilter>& /*filter*/) {
    setNeedsDraw();
}

std::shared_ptr<MVImage> MVFilterView::image() const {
    return imageBuffer_ ? imageBuffer_->image() : nullptr;
}

// Windows

std::shared_ptr<MVWindow> MVFilterView::mv_window() const {
    return currentDrawingView().get() == this ? MVView::mv_window() : squareWindow_;
}

void MVFilterView::mv_setWindowUpdateSubviews(MVWindow* window, bool /*updateSubviews*/) {
    MVView::mv_setWindowUpdateSubviews(window, false);
    mv_buildSquareWindowWithWindow(window);
    mv_setParentWindow(window);
    // Those that were added by a constructor, before anybody owned this view, are not there yet.
    const std::shared_ptr<const MVViewArray> snapshot = subviews();
    for (const std::shared_ptr<MVView>& subview : *snapshot) {
        subview->mv_setWindow(squareWindow_.get());
    }
}

void MVFilterView::mv_buildSquareWindowWithWindow(const MVWindow* window) {
    const Mivora::Size2 size = window != nullptr ? window->size() : Mivora::Size2::kZero;
    const float side = std::max(size.width, size.height);
    squareWindow_->setSize({side, side});
    squareWindow_->setNearDistance(window != nullptr ? window->nearDistance() : 0.0F);
    squareWindow_->setFarDistance(window != nullptr ? window->farDistance() : 0.0F);
    surfaceDirty_ = true;
}

void MVFilterView::mv_setParentWindow(MVWindow* window) {
    const std::shared_ptr<MVWindow> before = parentWindow_.lock();
    if (window != nullptr && before.get() == window) {
        return;
    }
    if (before) {
        before->removeObserver(this, "size");
    }
    parentWindow_.reset();
    if (window != nullptr) {
        window->addObserver(as<PropertyObserver>(), "size");
        parentWindow_ = std::static_pointer_cast<MVWindow>(window->weak_from_this().lock());
    }
}

void MVFilterView::mv_windowDidBecomeDrawDirty() {
    setNeedsDraw();
}

void MVFilterView::mv_windowElementsDidChange() {
    if (const std::shared_ptr<MVWindow> window = MVView::mv_window()) {
        window->mv_setElementsChanged();
    }
}

void MVFilterView::observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                               ObservableObject& object,
                                                               PropertyChange /*change*/,
                                                               void* /*context*/) {
    const std::shared_ptr<MVWindow> window = MVView::mv_window();
    if (window && &object == window.get() && keyPath == "size") {
        mv_buildSquareWindowWithWindow(window.get());
    }
}

// Transforms

glm::mat4 MVFilterView::transformMatrix() {
    const glm::mat4 world = MVView::transformMatrix();
    return currentDrawingView().get() == this ? world : zeroRotationTransformMatrix_;
}

void MVFilterView::mv_transformMatrixDidBuild() {
    MVView::mv_transformMatrixDidBuild();
    mv_buildZeroRotationTransformMatrix();
    surfaceDirty_ = true;
}

void MVFilterView::mv_buildZeroRotationTransformMatrix() {
    // Where the eye looks straight at the view's plane stays where it is; around it, everything is
    // turned towards the eye and brought to its own size.
    const glm::vec4 eye = inverseTransformMatrix()[3];
    const glm::vec4 foot = MVView::transformMatrix() * glm::vec4(eye.x, eye.y, 0.0F, 1.0F);
    zeroRotationTransformMatrix_ = glm::mat4(1.0F);
    zeroRotationTransformMatrix_[3] = foot - glm::vec4(eye.x, eye.y, 0.0F, 0.0F);
}

void MVFilterView::setSize3(Mivora::Size3 size) {
    MVView::setSize3(size);
    quad_->setSize({size.width, size.height});
}

// Texture

void MVFilterView::mv_buildSurface() {
    // Building the world transform may mark the surface.
    transformMatrix();
    if (surfaceDirty_ || (imageBuffer_ && imageBuffer_->scale() != contentScaleFactor())) {
        mv_calculateSurfaceRect();
        surfaceDirty_ = false;
    }
}

void MVFilterView::mv_calculateSurfaceRect() {
    const float scale = contentScaleFactor();
    const std::int32_t side = wholePixels(squareWindow_->size().height * scale);
    const glm::mat4 projection = squareWindow_->projectionMatrix();
    const auto project = [&](float x, float y) {
        return MVMathProject({x, y, 0.0F}, zeroRotationTransformMatrix_, projection,
                             {0, 0, side, side});
    };
    // y runs down in the view and up in the pixels, so the corners come in any order.
    const Mivora::Point3 origin = project(0.0F, 0.0F);
    const Mivora::Point3 corner = project(size().width, size().height);
    const Mivora::Rect2I rect = pixelsBetween(origin, corner);
    const Mivora::Size2 exactSize = {std::abs(corner.x - origin.x), std::abs(corner.y - origin.y)};
    surfaceRect_.origin = rect.origin;
    if (keepsTexture(rect, exactSize)) {
        return;
    }
    surfaceRect_.size = rect.size;
    exactSurfaceSize_ = exactSize;
    imageBuffer_ = rect.size.width > 0 && rect.size.height > 0
                       ? MVImageRenderSurfaceBuffer::initWithStorageSizeScale(rect.size, scale)
                       : nullptr;
    surface_->setColorBuffer(imageBuffer_);
}

/// Whether the texture that there is serves these pixels.
bool MVFilterView::keepsTexture(Mivora::Rect2I rect, Mivora::Size2 exactSize) const {
    if (imageBuffer_ && imageBuffer_->scale() != contentScaleFactor()) {
        return false;
    }
    const Mivora::Size2I size = surfaceRect_.size;
    if (std::abs(rect.size.width - size.width) < rebuildThreshold_.x &&
        std::abs(rect.size.height - size.height) < rebuildThreshold_.y) {
        return true;
    }
    // A view that moves keeps its size, though its corners may be rounded apart or together.
    return imageBuffer_ && std::abs(exactSize.width - exactSurfaceSize_.width) < kSameSize &&
           std::abs(exactSize.height - exactSurfaceSize_.height) < kSameSize;
}

/// The square window's projection, with the depths that the window the view is in shows: the
/// square camera may stand so far from the views that its own would leave them out.
glm::mat4 MVFilterView::drawingProjection() const {
    glm::mat4 result = squareWindow_->projectionMatrix();
    if (const std::shared_ptr<MVWindow> window = MVView::mv_window()) {
        const glm::mat4 shown = window->mv_drawingProjectionMatrix();
        if (shown[2][3] == result[2][3]) {
            result[2][2] = shown[2][2];
            result[3][2] = shown[3][2];
        }
    }
    return result;
}

/// Places the square window's view so that the view's pixels land on the texture.
///
/// Where they reach beyond the square window's view, that view is widened by as many pixels on
/// every side, so that a view at the window's edge is drawn whole: a blur would mix what is missing
/// into what is seen.
void MVFilterView::aimSurface() {
    const float scale = imageBuffer_->scale();
    const Mivora::Size2I all = {wholePixels(squareWindow_->size().width * scale),
                                wholePixels(squareWindow_->size().height * scale)};
    const auto [origin, extent] = surfaceRect_;
    std::int32_t margin = std::max({0, -origin.x, -origin.y, origin.x + extent.width - all.width,
                                    origin.y + extent.height - all.height});
    margin = std::min(margin, std::max(0, (kMostViewportPixels - all.width) / 2));
    glm::mat4 projection = drawingProjection();
    if (margin > 0) {
        projection[0][0] *=
            static_cast<float>(all.width) / static_cast<float>(all.width + 2 * margin);
        projection[1][1] *=
            static_cast<float>(all.height) / static_cast<float>(all.height + 2 * margin);
    }
    squareWindow_->mv_setDrawingProjectionMatrix(projection);
    surface_->setViewport(
        {-origin.x - margin, -origin.y - margin, all.width + 2 * margin, all.height + 2 * margin});
}

void MVFilterView::mv_prepareForDrawVisit() {
    if (isHidden()) {
        return;
    }
    // Filter views below take their depths from here.
    squareWindow_->mv_setDrawingProjectionMatrix(drawingProjection());
    const std::shared_ptr<const MVViewArray> snapshot = subviews();
    for (const std::shared_ptr<MVView>& subview : *snapshot) {
        subview->mv_prepareForDrawVisit();
    }
    mv_buildSurface();
    if (imageBuffer_) {
        aimSurface();
        surface_->renderBlock([this] {
            const MVQuadRecorder::Scope recording;
            const std::shared_ptr<const MVViewArray> drawn = subviews();
            for (const std::shared_ptr<MVView>& subview : *drawn) {
                subview->mv_drawVisit();
            }
        });
    }
    prepareForDraw();
}

void MVFilterView::prepareForDraw() {
    filterStage_->prepare(image());
}

// Drawing

void MVFilterView::mv_drawVisit() {
    if (isHidden()) {
        return;
    }
    const MVQuadRecorder::Scope recording;
    {
        const AtEnd done([] { mv_setCurrentDrawingView(nullptr); });
        mv_setCurrentDrawingView(this);
        draw();
    }
    mv_drawFocusRing();
}

void MVFilterView::mv_buildQuadVertices() {
    if (const std::shared_ptr<MVImage> picture = image()) {
        // The texture begins with the bottom row.
        const Mivora::Rect2 space = picture->coordinateSpace();
        quad_->build(size(), {{space.origin.x, space.origin.y + space.size.height},
                              {space.size.width, -space.size.height}});
    }
}

void MVFilterView::draw() {
    if (const std::shared_ptr<MVImage> picture = image()) {
        mv_buildQuadVertices();
        filterStage_->draw(*quad_, shader_, picture, effectiveOpacity());
    }
}
