// Hit testing, gesture recognizers and the hooks of input.

#include <cstddef>
#include <cstdint>
#include <utility>

#include "MivoraMac/geometry/Float4Private.h"
#include "MivoraMac/geometry/MVMath.h"
#include "MivoraMac/input/MVGestureRecognizer.h"
#include "MivoraMac/input/MVInteraction.h"
#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/threads/MainThreadAssertPrivate.h"
#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVViewRareStatePrivate.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::Float4;

namespace {

/// How many views ahead of its time memory is asked for a view. Without that, hit testing a list of
/// 10,000 waits for memory a quarter of the time.
constexpr std::ptrdiff_t kViewsAhead = 4;

using Int4 __attribute__((vector_size(16))) = std::int32_t;

/// The components without their fractions; they must fit into integers.
Float4 truncated(Float4 value) {
    return __builtin_convertvector(__builtin_convertvector(value, Int4), Float4);
}

/// What `std::round` makes of each component, without its call into another library and without
/// branches on the fraction, which no processor can predict.
Float4 roundHalfAway(Float4 value) {
    constexpr float kWholeFrom = 8388608.0F;
    const Int4 hasFraction = (value < kWholeFrom) & (value > -kWholeFrom);
    const Float4 small = hasFraction ? value : Float4{};
    const Float4 whole = truncated(small);
    const Float4 rounded = whole + truncated((small - whole) * 2.0F);
    return hasFraction ? rounded : value;
}

}  // namespace

// Hit testing

std::shared_ptr<MVView> MVView::viewForInteraction(
    const std::shared_ptr<MVInteraction>& interaction) {
    std::shared_ptr<MVView> found;
    if (interaction) {
        findViewForInteraction(shared_from_this(), *interaction, found);
    }
    return found;
}

bool MVView::findViewForInteraction(const std::shared_ptr<MVView>& self,
                                    const MVInteraction& interaction,
                                    std::shared_ptr<MVView>& found) {
    if (!interactionEnabled_ || hidden_ || !contentBoxContains(interaction.locationInView(self))) {
        return false;
    }
    bool covered = false;
    // Held, because asking for a location may run hooks, which may change the list.
    if (const std::shared_ptr<const MVViewArray> subviews = subviewArray()) {
        for (auto view = subviews->rbegin(); view != subviews->rend() && !found; ++view) {
            if (subviews->rend() - view > kViewsAhead) {
                view[kViewsAhead]->fetchForHitTest();
            }
            covered |= (*view)->findViewForInteraction(*view, interaction, found);
        }
    }
    if (!covered && (mouseHoverEnabled_ || !interaction.mv_isHover())) {
        found = self;
    }
    return true;
}

void MVView::fetchForHitTest() const {
    __builtin_prefetch(&hidden_);
    __builtin_prefetch(&inverseTransformMatrix_[0][0]);
    __builtin_prefetch(&inverseTransformMatrix_[3][3]);
}

bool MVView::hitTest(const std::shared_ptr<MVInteraction>& interaction) {
    return interaction && contentBoxContains(interaction->locationInView(shared_from_this()));
}

bool MVView::contentBoxContains(Mivora::Point3 p) const {
    const Mivora::Point3 o = localOrigin_;
    return o.x <= p.x && p.x <= o.x + size_.width && o.y <= p.y && p.y <= o.y + size_.height &&
           o.z <= p.z && p.z <= o.z + size_.depth;
}

void MVView::setInteractionEnabled(bool enabled) {
    if (interactionEnabled_ == enabled) {
        return;
    }
    interactionEnabled_ = enabled;
    MVView* const window = windowPointer();
    if (window != nullptr && mayHoldElements_) {
        static_cast<MVWindow*>(window)->mv_setElementsChanged();
    }
}

// Interaction plane

Mivora::Plane MVView::interactionPlane() const {
    return rareState().interactionPlane;
}

void MVView::setInteractionPlane(const Mivora::Plane& plane) {
    if (rareState().interactionPlane == plane) {
        return;
    }
    rareStateToChange().interactionPlane = plane;
    worldInteractionPlaneDirty_ = true;
}

Mivora::Plane MVView::worldInteractionPlane() {
    mv_buildWorldInteractionPlane();
    return worldInteractionPlane_;
}

void MVView::mv_buildWorldInteractionPlane() {
    if (worldInteractionPlaneDirty_) {
        const glm::mat4 matrix = transformMatrix();
        worldInteractionPlane_ = MVPlaneApplyTransform(rareState().interactionPlane, matrix);
        // Building the matrix runs hooks, which may have moved the view again.
        worldInteractionPlaneDirty_ = transformMatrixDirty_;
    }
}

Mivora::Point3 MVView::mv_locationOfRay(const Mivora::Ray3& ray) {
    if (worldInteractionPlaneDirty_) {
        mv_buildWorldInteractionPlane();
    }
    const bool isBuilt = !transformMatrixDirty_ && !inverseTransformMatrixDirty_;
    const glm::mat4& inverse = isBuilt ? inverseTransformMatrix_ : inverseMatrix();
    const Mivora::Point3 world = worldInteractionPlane_.RayIntersection(ray);
    const float scale = contentScaleFactor_;
    const Float4 location = Mivora::columnsOf(inverse) * Float4{world.x, world.y, world.z, 1.0F};
    const Float4 snapped = roundHalfAway(location * scale) / scale;
    return {snapped[0], snapped[1], snapped[2]};
}

// Gesture recognizers

std::shared_ptr<const MVGestureRecognizerArray> MVView::gestureRecognizers() const {
    if (const std::shared_ptr<MVGestureRecognizerArray>& array = rareState().gestureRecognizers) {
        return array;
    }
    static const MVGestureRecognizerArray empty;
    return {std::shared_ptr<void>(), &empty};
}

void MVView::addGestureRecognizer(std::shared_ptr<MVGestureRecognizer> recognizer) {
    MIVORA_ASSERT_MAIN_THREAD("MVView::addGestureRecognizer");
    if (recognizer == nullptr) {
        throw MVException(MVException::kInvalidArgument,
                          "addGestureRecognizer: the recognizer is null");
    }
    const std::shared_ptr<MVView> self = weak_from_this().lock();
    if (self == nullptr) {
        throw MVException(MVException::kInternalInconsistency,
                          "addGestureRecognizer: the view is still being constructed");
    }
    if (const std::shared_ptr<MVView> view = recognizer->view()) {
        view->removeGestureRecognizer(recognizer);
    }
    dropGestureRecognizer(recognizer);
    recognizer->setView(self);
    gestureRecognizersToChange().push_back(std::move(recognizer));
}

void MVView::removeGestureRecognizer(const std::shared_ptr<MVGestureRecognizer>& recognizer) {
    MIVORA_ASSERT_MAIN_THREAD("MVView::removeGestureRecognizer");
    if (const std::shared_ptr<MVGestureRecognizer> kept = recognizer) {
        kept->setView(nullptr);
        dropGestureRecognizer(kept);
    }
}

void MVView::removeAllGestureRecognizers() {
    const std::shared_ptr<const MVGestureRecognizerArray> all = rareState().gestureRecognizers;
    if (all != nullptr) {
        for (const std::shared_ptr<MVGestureRecognizer>& recognizer : *all) {
            removeGestureRecognizer(recognizer);
        }
    }
}

/// The list, replaced by a copy if somebody else holds it.
MVGestureRecognizerArray& MVView::gestureRecognizersToChange() {
    std::shared_ptr<MVGestureRecognizerArray>& array = rareStateToChange().gestureRecognizers;
    if (array == nullptr) {
        array = std::make_shared<MVGestureRecognizerArray>();
    } else if (array.use_count() > 1) {
        array = std::make_shared<MVGestureRecognizerArray>(*array);
    }
    return *array;
}

/// Takes a recognizer off the list, if it is there.
void MVView::dropGestureRecognizer(const std::shared_ptr<MVGestureRecognizer>& recognizer) {
    if (rareState().gestureRecognizers != nullptr) {
        std::erase(gestureRecognizersToChange(), recognizer);
    }
}

// Hooks

void MVView::touchesBegan(const MVTouchSet& touches) {
    if (const std::shared_ptr<MVView> above = superview()) {
        above->touchesBegan(touches);
    }
}

void MVView::touchesMoved(const MVTouchSet& touches) {
    if (const std::shared_ptr<MVView> above = superview()) {
        above->touchesMoved(touches);
    }
}

void MVView::touchesEnded(const MVTouchSet& touches) {
    if (const std::shared_ptr<MVView> above = superview()) {
        above->touchesEnded(touches);
    }
}

void MVView::touchesCancelled(const MVTouchSet& touches) {
    if (const std::shared_ptr<MVView> above = superview()) {
        above->touchesCancelled(touches);
    }
}

void MVView::mouseBegan(const std::shared_ptr<MVMouse>& mouse) {
    if (const std::shared_ptr<MVView> above = superview()) {
        above->mouseBegan(mouse);
    }
}

void MVView::mouseMoved(const std::shared_ptr<MVMouse>& mouse) {
    if (const std::shared_ptr<MVView> above = superview()) {
        above->mouseMoved(mouse);
    }
}

void MVView::mouseEnded(const std::shared_ptr<MVMouse>& mouse) {
    if (const std::shared_ptr<MVView> above = superview()) {
        above->mouseEnded(mouse);
    }
}

void MVView::mouseHoverBegan(const std::shared_ptr<MVMouse>& /*mouse*/) {}

void MVView::mouseHoverMoved(const std::shared_ptr<MVMouse>& /*mouse*/) {}

void MVView::mouseHoverEnded(const std::shared_ptr<MVMouse>& /*mouse*/) {}

void MVView::scrollBegan(const std::shared_ptr<MVScroll>& scroll) {
    if (const std::shared_ptr<MVView> above = superview()) {
        above->scrollBegan(scroll);
    }
}

void MVView::scrollMoved(const std::shared_ptr<MVScroll>& scroll) {
    if (const std::shared_ptr<MVView> above = superview()) {
        above->scrollMoved(scroll);
    }
}

void MVView::scrollEnded(const std::shared_ptr<MVScroll>& scroll) {
    if (const std::shared_ptr<MVView> above = superview()) {
        above->scrollEnded(scroll);
    }
}

void MVView::scrollCancelled(const std::shared_ptr<MVScroll>& scroll) {
    if (const std::shared_ptr<MVView> above = superview()) {
        above->scrollCancelled(scroll);
    }
}
