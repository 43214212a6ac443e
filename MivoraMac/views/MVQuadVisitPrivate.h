#pragma once

#include <glm/mat4x4.hpp>
#include <memory>
#include <optional>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/render/MVQuadEntryPrivate.h"
#include "MivoraMac/render/MVQuadRecorderPrivate.h"
#include "MivoraMac/views/MVQuadPrivate.h"
#include "MivoraMac/views/MVView.h"

/// The drawing visit of a view's subviews, from back to front. Those that are nothing but a quad
/// are recorded as one run, without a visit of their own: what they have in common is looked up
/// once.
///
/// Thread: the drawing one.
class MIVORA_EXPORT MVQuadVisit {
 public:
    explicit MVQuadVisit(MVView& superview) : superview_(superview) {}

    void visit(const MVViewArray& subviews);

    /// Records a subview's quad; for `MVView::mv_recordQuad`.
    /// @param shader   a standard one, or null
    /// @param tint     the colour, or what the texture is multiplied with
    /// @param texture  0 for none
    /// @return whether it was recorded
    template <class Shader>
    bool add(MVView& view, MVQuad& quad, const std::shared_ptr<Shader>& shader,
             Mivora::ColorRGBA tint, std::uint32_t texture, MVQuad::Blend blend) {
        if (!quad.isDrawableOn(*context_) || !shader ||
            (shader.get() != shader_ && !setShader(shader))) {
            return false;
        }
        MVQuadEntry& entry = run_->next();
        entry.matrix = view.mv_transformMatrixBelow(superview_, world_);
        quad.write(entry, program_, tint, texture, blend);
        run_->add();
        return true;
    }

 private:
    bool begin();
    void end();
    bool record(MVView& view);

    template <class Shader>
    bool setShader(const std::shared_ptr<Shader>& shader) {
        if (!shader->mv_readQuadProgram(program_) || !run_->setShader(shader)) {
            return false;
        }
        shader_ = shader.get();
        return true;
    }

    MVView& superview_;
    std::optional<MVQuadRecorder::Run> run_;  ///< While there may be quads to add.

    // Known during a run.
    const MVRenderContext* context_ = nullptr;
    glm::mat4 world_{1.0F};  ///< The superview's.
    const MVShader* shader_ = nullptr;
    MVQuadProgram program_;
};
