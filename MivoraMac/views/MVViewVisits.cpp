// Layout, the four visits of a frame, and stencils.

#include <epoxy/gl.h>

#include <utility>

#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/threads/MainThreadAssertPrivate.h"
#include "MivoraMac/render/MVQuadRecorderPrivate.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/views/MVQuadVisitPrivate.h"
#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVViewRareStatePrivate.h"
#include "MivoraMac/views/MVViewTreePrivate.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::AtEnd;

namespace {

/// The stencil level in use; all ones, so that the first level is 0, while none is.
constinit std::uint32_t currentStencilLayer = ~0U;

/// A further step of a level whose beginning was recorded, whether or not drawings still are.
void recordStencil(MVRenderContext& context, MVQuadEntry::Kind step, std::uint32_t level) {
    if (MVQuadRecorder* const recorder = MVQuadRecorder::recording(&context)) {
        recorder->stencil(step, level);
    } else {
        context.mv_drawEntry(MVQuadRecorder::stencilStep(step, level));
    }
}

}  // namespace

/// A level: what it was begun with, which is also what ends it, and what it saves on the GL queue
/// before it begins. Shared with the closures that use it.
struct MVView::RareState::StencilCache {
    // Main thread, null while the level is not in use.
    std::shared_ptr<MVRenderSurface> surface;
    std::shared_ptr<MVRenderContext> context;
    std::shared_ptr<StencilCache> outer;  ///< A level that the same view took before this one.
    std::uint32_t level = 0;
    bool isRecorded = false;

    // GL queue.
    MVStencilState state;
    GLboolean depthMask = GL_TRUE;
};

// Layout

void MVView::setNeedsLayout() {
    mv_setLayoutDirty();
}

void MVView::mv_setLayoutDirty() {
    layoutDirty_.store(true, std::memory_order_release);
    if (!Mivora::platform::MainThread::isMainThread()) {
        if (const std::weak_ptr<MVView> self = weak_from_this(); !self.expired()) {
            Mivora::platform::MainThread::perform([self] {
                if (const std::shared_ptr<MVView> view = self.lock()) {
                    view->wantLayoutVisit();
                }
            });
            return;
        }
        // Nobody else knows a view under construction.
    }
    wantLayoutVisit();
}

/// Has the next layout visit come to this view. Above a view that is to be visited all are, except
/// above hidden ones, which the visit does not enter.
void MVView::wantLayoutVisit() {
    MVView* view = this;
    view->layoutVisitWanted_ = true;
    while (MVView* const superview = view->superviewPointer()) {
        if (superview->layoutVisitWanted_) {
            return;
        }
        view = superview;
        view->layoutVisitWanted_ = true;
    }
    view->tellWindowOfLayoutVisit(true);
}

/// Lets whoever makes frames know whether a root wants the layout visits.
void MVView::tellWindowOfLayoutVisit(bool wanted) {
    if (windowPointer() == this) {
        static_cast<MVWindow*>(this)->mv_setNeedsLayoutVisit(wanted);
    }
}

bool MVView::childWantsLayoutVisit() const {
    if (!MVViewTree::Children::exist(*this)) {
        return false;
    }
    MVViewTree::Children children(*this);
    while (const MVView* const child = children.next()) {
        if (child->layoutVisitWanted_ && !child->hidden_) {
            return true;
        }
    }
    return false;
}

void MVView::layoutSubviewsIfNeeded() {
    mv_layoutSubviewsIfNeeded();
}

void MVView::mv_layoutSubviewsIfNeeded() {
    MVViewTree::buildFromTop(
        *this, [](const MVView& view) { return view.superviewPointer() != nullptr; },
        [](MVView& view) { view.layOutIfWanted(); });
}

void MVView::layOutIfWanted() {
    if (!mv_isLayoutDirty() || layingOut_) {
        return;
    }
    layingOut_ = true;
    const AtEnd done([this] { layingOut_ = false; });
    layoutSubviews();
    layoutDirty_.store(false, std::memory_order_relaxed);
}

void MVView::prepareForLayoutSubviews() {}

void MVView::layoutSubviews() {}

void MVView::mv_prepareForLayoutVisit() {
    if (hidden_ || !layoutVisitWanted_) {
        return;
    }
    if (mv_isLayoutDirty()) {
        prepareForLayoutSubviews();
    }
    if (!MVViewTree::Children::exist(*this)) {
        return;
    }
    MVViewTree::Children children(*this);
    while (MVView* const child = children.next()) {
        child->mv_prepareForLayoutVisit();
    }
}

void MVView::mv_layoutVisit() {
    if (hidden_ || !layoutVisitWanted_) {
        tellWindowOfLayoutVisit(false);
        return;
    }
    layOutIfWanted();
    if (MVViewTree::Children::exist(*this)) {
        MVViewTree::Children children(*this);
        while (MVView* const child = children.next()) {
            child->mv_layoutVisit();
        }
    }
    // Not before: what wants a layout during the visit may lie where it has been already.
    layoutVisitWanted_ = mv_isLayoutDirty() || childWantsLayoutVisit();
    tellWindowOfLayoutVisit(layoutVisitWanted_);
}

// Drawing

// One tree is drawn at a time: the view whose `draw` is running is the one that shaders ask for
// matrices, unless something that is no view is drawn.

std::shared_ptr<MVView> MVView::currentDrawingView() {
    auto* const view = dynamic_cast<MVView*>(MVShader::mv_matrixSource());
    return view != nullptr ? view->weak_from_this().lock() : nullptr;
}

void MVView::mv_setCurrentDrawingView(MVView* view) {
    MVShader::mv_setMatrixSource(view);
}

void MVView::forgetCurrentDrawing() {
    if (MVShader::mv_matrixSource() == this) {
        mv_setCurrentDrawingView(nullptr);
    }
}

void MVView::mv_readQuadMatrices(glm::mat4& projection, glm::mat4& transform) {
    // The projection comes first: building it moves the window, and with it everything below.
    if (MVView* const stored = windowPointer()) {
        // Saves every drawn view the reference that `mv_window` takes.
        projection = static_cast<MVWindow*>(stored)->mv_drawingProjectionMatrix();
    } else if (const std::shared_ptr<MVWindow> window = mv_window()) {
        projection = window->mv_drawingProjectionMatrix();
    }
    transform = transformMatrix();
}

MVShaderMatrices MVView::mv_shaderMatrices() {
    MVShaderMatrices matrices;
    mv_readQuadMatrices(matrices.projection, matrices.transform);
    matrices.inverseTransform = inverseTransformMatrix();
    return matrices;
}

void MVView::prepareForDraw() {}

void MVView::draw() {}

void MVView::mv_prepareForDrawVisit() {
    if (hidden_) {
        return;
    }
    prepareForDraw();
    if (!MVViewTree::Children::exist(*this)) {
        return;
    }
    MVViewTree::Children children(*this);
    while (MVView* const child = children.next()) {
        child->mv_prepareForDrawVisit();
    }
}

void MVView::mv_drawVisit() {
    if (hidden_) {
        return;
    }
    const MVQuadRecorder::Scope recording;
    const bool stenciled = applyStencil();
    const AtEnd cleanup([this, stenciled] {
        if (stenciled) {
            cleanupStencil();
        }
    });
    {
        const AtEnd done([] { mv_setCurrentDrawingView(nullptr); });
        mv_setCurrentDrawingView(this);
        draw();
    }
    if (subviews_ != nullptr) {
        const std::shared_ptr<const MVViewArray> snapshot = subviewArray();
        MVQuadVisit(*this).visit(*snapshot);
    }
    mv_drawFocusRing();
}

bool MVView::mv_recordQuad(MVQuadVisit& /*visit*/) {
    return false;
}

// Stencil

std::shared_ptr<MVView> MVView::stencilView() const {
    return rareState().stencilView;
}

void MVView::setStencilView(std::shared_ptr<MVView> view) {
    MIVORA_ASSERT_MAIN_THREAD("MVView::setStencilView");
    const std::shared_ptr<MVView> former = rareState().stencilView;
    if (former == view) {
        return;
    }
    if (view != nullptr) {
        checkCanBecomeSubview(view.get(), "setStencilView");
        if (view->superviewPointer() == nullptr) {
            view->mv_setSuperview(this);
        }
    } else if (former->superviewPointer() == this && !hasSubview(former.get())) {
        former->mv_setSuperview(nullptr);
    }
    storeStencilView(std::move(view));
    mv_setDrawDirty();
}

/// Keeps a stencil view, which knows whom it masks.
void MVView::storeStencilView(std::shared_ptr<MVView> view) {
    std::shared_ptr<MVView>& stored = rareStateToChange().stencilView;
    if (stored != nullptr) {
        std::erase(stored->rareStateToChange().masked, this);
    }
    stored = std::move(view);
    if (stored == nullptr) {
        return;
    }
    stored->rareStateToChange().masked.push_back(this);
    if (stored->layoutVisitWanted_) {
        wantLayoutVisit();  // no visit came to one that was only placed here
    }
}

bool MVView::applyStencil() {
    if (rare_ == nullptr || rare_->stencilView == nullptr || rare_->stencilView->hidden_) {
        return false;
    }
    const std::shared_ptr<MVWindow> window = mv_window();
    const std::shared_ptr<MVRenderSurface> surface = window ? window->mv_surface() : nullptr;
    const std::shared_ptr<MVRenderContext> context = MVRenderContext::mv_drawingContext();
    const std::uint32_t level = currentStencilLayer + 1;
    if (!surface || !context || level >= static_cast<std::uint32_t>(surface->stencilBits())) {
        return false;
    }
    currentStencilLayer = level;
    const std::uint32_t bit = 1U << (level % 32);
    const std::uint32_t mask = bit | (bit - 1);
    std::shared_ptr<RareState::StencilCache>& cache = rare_->stencilStateCache;
    if (cache == nullptr) {
        cache = std::make_shared<RareState::StencilCache>();
    } else if (cache->surface != nullptr) {
        auto inner = std::make_shared<RareState::StencilCache>();
        inner->outer = std::exchange(cache, inner);
    }
    cache->surface = surface;
    cache->context = context;
    cache->level = level;
    MVQuadRecorder* const recorder = MVQuadRecorder::recording(context.get());
    cache->isRecorded = recorder != nullptr;
    // Every fragment of the stencil view fails the test and writes this level's bit.
    if (recorder != nullptr) {
        recorder->stencil(MVQuadEntry::Kind::BeginStencil, level);
    } else {
        context->dispatchBlock([surface, cache, bit] {
            cache->state = surface->stencilState();
            glGetBooleanv(GL_DEPTH_WRITEMASK, &cache->depthMask);
            glEnable(GL_STENCIL_TEST);
            glStencilMask(bit);
            glDepthMask(GL_FALSE);
            glClearStencil(0);
            glClear(GL_STENCIL_BUFFER_BIT);
            glStencilFunc(GL_NEVER, static_cast<GLint>(bit), bit);
            glStencilOp(GL_REPLACE, GL_KEEP, GL_KEEP);
        });
    }
    // From then on only pixels with this level's bit and those of all enclosing levels pass.
    const auto limitDrawing = [&context, cache, mask] {
        if (cache->isRecorded) {
            recordStencil(*context, MVQuadEntry::Kind::LimitToStencil, cache->level);
            return;
        }
        context->dispatchBlock([cache, mask] {
            glDepthMask(cache->depthMask);
            glStencilFunc(GL_EQUAL, static_cast<GLint>(mask), mask);
            glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
        });
    };
    try {
        const std::shared_ptr<MVView> stencilView = rare_->stencilView;
        stencilView->mv_drawVisit();
    } catch (...) {
        limitDrawing();
        cleanupStencil();
        throw;
    }
    limitDrawing();
    return true;
}

void MVView::cleanupStencil() {
    const std::shared_ptr<RareState::StencilCache> level = rareState().stencilStateCache;
    if (level == nullptr || level->surface == nullptr) {
        return;
    }
    // Not the window's surface: the view may have left the window since the level began.
    const std::shared_ptr<MVRenderSurface> surface = std::exchange(level->surface, nullptr);
    const std::shared_ptr<MVRenderContext> context = std::exchange(level->context, nullptr);
    if (level->isRecorded) {
        recordStencil(*context, MVQuadEntry::Kind::EndStencil, level->level);
    } else {
        context->dispatchBlock([surface, level] { surface->setStencilState(level->state); });
    }
    if (level->outer != nullptr) {
        rare_->stencilStateCache = std::exchange(level->outer, nullptr);
    }
    --currentStencilLayer;
}
