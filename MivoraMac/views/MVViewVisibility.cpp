// Hidden state, opacity and content scale.

#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVViewTreePrivate.h"

void MVView::setHidden(bool hidden) {
    if (hidden_ == hidden) {
        return;
    }
    hidden_ = hidden;
    if (!hidden) {
        wantLayoutVisit();  // for wishes from the time when no visit came here
    }
    mv_setEffectivelyHiddenDirty();
}

bool MVView::isEffectivelyHidden() {
    mv_buildEffectivelyHidden();
    return effectivelyHidden_;
}

void MVView::mv_setEffectivelyHiddenDirty() {
    MVViewTree::visitSubtree(*this, [](MVView& view, std::size_t) {
        view.effectivelyHiddenDirty_ = true;
        view.mv_setDrawDirty();
    });
}

void MVView::mv_buildEffectivelyHidden() {
    if (!effectivelyHiddenDirty_) {
        return;
    }
    MVViewTree::buildFromTop(
        *this,
        [](const MVView& view) {
            const MVView* const superview = view.superviewPointer();
            return !view.hidden_ && superview != nullptr && superview->effectivelyHiddenDirty_;
        },
        [](MVView& view) {
            MVView* const superview = view.superviewPointer();
            view.effectivelyHidden_ =
                view.hidden_ || superview == nullptr || superview->isEffectivelyHidden();
            view.effectivelyHiddenDirty_ = false;
            view.mv_effectivelyHiddenDidBuild();
        });
}

void MVView::mv_effectivelyHiddenDidBuild() {}

void MVView::setOpacity(float opacity) {
    if (opacity_ == opacity) {
        return;
    }
    opacity_ = opacity;
    mv_setEffectiveOpacityDirty();
}

float MVView::effectiveOpacity() {
    mv_buildEffectiveOpacity();
    return effectiveOpacity_;
}

void MVView::mv_setEffectiveOpacityDirty() {
    MVViewTree::visitSubtree(*this, [](MVView& view, std::size_t) {
        view.effectiveOpacityDirty_ = true;
        view.mv_setDrawDirty();
    });
}

void MVView::mv_buildEffectiveOpacity() {
    if (!effectiveOpacityDirty_) {
        return;
    }
    MVViewTree::buildFromTop(
        *this,
        [](const MVView& view) {
            const MVView* const superview = view.superviewPointer();
            return superview != nullptr && superview->effectiveOpacityDirty_;
        },
        [](MVView& view) {
            MVView* const superview = view.superviewPointer();
            const float above = superview != nullptr ? superview->effectiveOpacity() : 1.0F;
            view.effectiveOpacity_ = above * view.opacity_;
            view.effectiveOpacityDirty_ = false;
        });
}

void MVView::setContentScaleFactor(float contentScaleFactor) {
    contentScaleFactor_ = contentScaleFactor;
    contentScaleFactorSet_ = contentScaleFactor != 0.0F;
}

/// Takes over the factor of a new superview, or gives up what there is, along with those below.
void MVView::inheritContentScaleFactor(const MVView* superview) {
    MVViewTree::visitSubtree(*this, [&](MVView& view, std::size_t depth) {
        if (superview != nullptr && depth > 0 && view.contentScaleFactorSet_) {
            return;
        }
        const MVView* const above = superview != nullptr ? view.superviewPointer() : nullptr;
        view.contentScaleFactor_ = above != nullptr ? above->contentScaleFactor_ : 0.0F;
        view.contentScaleFactorSet_ = false;
    });
}
