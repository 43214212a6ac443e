#include "MivoraMac/views/MVQuadVisitPrivate.h"

#include "MivoraMac/render/MVShader.h"
#include "MivoraMac/views/MVViewTreePrivate.h"
#include "MivoraMac/views/MVWindow.h"

void MVQuadVisit::visit(const MVViewArray& subviews) {
    for (const std::shared_ptr<MVView>& subview : subviews) {
        if (!record(*subview)) {
            end();
            subview->mv_drawVisit();
        }
    }
    end();
}

/// @return false where the view has to be visited
bool MVQuadVisit::record(MVView& view) {
    if (view.hidden_) {
        return true;
    }
    return !view.drawsFocusRing_ && !MVViewTree::Children::exist(view) &&
           view.superviewPointer() == &superview_ && (run_ || begin()) && view.mv_recordQuad(*this);
}

/// @return whether anything is recorded at present
bool MVQuadVisit::begin() {
    MVQuadRecorder* const recorder = MVQuadRecorder::recording();
    if (recorder == nullptr) {
        return false;
    }
    glm::mat4 projection(0.0F);
    superview_.mv_readQuadMatrices(projection, world_);
    run_.emplace(*recorder, projection);
    context_ = &run_->context();
    shader_ = nullptr;
    return true;
}

void MVQuadVisit::end() {
    run_.reset();
}
