#pragma once

#include <cstddef>
#include <glm/mat4x4.hpp>
#include <memory>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/render/MVQuadEntryPrivate.h"
#include "MivoraMac/render/MVQuadRecordingPrivate.h"

class MVQuadBatch;
class MVRenderContext;
class MVShader;
class MVShaderMatrixSource;

/// Turns what views draw on a render context into recordings on its queue.
///
/// Thread: the drawing one.
class MIVORA_EXPORT MVQuadRecorder {
 public:
    /// Records while it exists, if the active render context can: what is drawn meanwhile on this
    /// thread becomes few recordings, the last of which is queued at the end. Scopes may nest; the
    /// outermost one counts. Within GL work and with batching off nothing is recorded.
    class MIVORA_EXPORT Scope {
     public:
        Scope();
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

     private:
        std::shared_ptr<MVRenderContext>
            context_;  ///< Null but in an outermost scope that records.
    };

    MVQuadRecorder(MVRenderContext& context, MVQuadBatch& batch);
    ~MVQuadRecorder();

    /// The recorder of the scope at hand if it belongs to the context given and that is the active
    /// one; else null, and the drawing is played call by call.
    static MVQuadRecorder* recording(const MVRenderContext* context);

    /// What varies from quad to quad but for its matrices.
    struct Quad {
        Mivora::ColorRGBA tint;
        Mivora::Rect2 textureCoordinates;
        Mivora::Size2 size;
        std::uint32_t texture;
        MVQuadBlend blend;
        bool rebuilt;
    };

    /// Records `use` on a standard shader, the binding of the texture if it uses one, the setting
    /// of its colour and the drawing of a quad.
    void draw(const std::shared_ptr<MVShader>& shader, const MVQuadProgram& program,
              const Quad& quad);

    /// Whether it ever has.
    bool hasRecorded() const { return hasRecorded_; }

    /// Records a step of a stencil level.
    void stencil(MVQuadEntry::Kind step, std::uint32_t level);
    /// Such a step as an entry.
    static MVQuadEntry stencilStep(MVQuadEntry::Kind step, std::uint32_t level);

 private:
    void makeRoom();
    bool commitProjection(const glm::mat4& projection);
    void finish();

    MVRenderContext& context_;
    MVQuadBatch& batch_;
    std::vector<std::shared_ptr<MVQuadRecording>> recordings_;
    std::shared_ptr<MVQuadRecording> beyondKept_;  ///< The current one, if it is not among them.
    std::size_t lastUsed_ = 0;
    MVQuadRecording* current_ = nullptr;  ///< Null while there is none to add to.
    bool hasRecorded_ = false;
    bool hasProjection_ = false;  ///< Whether the current one knows `projection_`.
    glm::mat4 projection_{0.0F};
};
