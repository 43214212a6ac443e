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

    /// The recorder of the scope at hand if it belongs to the active context; else null, and the
    /// drawing is played call by call.
    static MVQuadRecorder* recording();
    /// As above, and only if that is the context given.
    static MVQuadRecorder* recording(const MVRenderContext* context);

    /// Drawings of quads that follow each other while nobody else can queue anything from this
    /// thread: as a whole they cost what one costs.
    class MIVORA_EXPORT Run {
     public:
        /// @param projection  of all of them
        Run(MVQuadRecorder& recorder, const glm::mat4& projection)
            : recorder_(recorder), projection_(projection) {}
        ~Run() { end(); }
        Run(const Run&) = delete;
        Run& operator=(const Run&) = delete;

        const MVRenderContext& context() const { return recorder_.context_; }

        /// The place for the next quad, of which everything has to be written but the kind.
        MVQuadEntry& next() {
            if (recorder_.current_ == nullptr || !isBegun_ || recorder_.current_->isFull()) {
                begin();
            }
            return recorder_.current_->next();
        }
        /// Adds what was written to `next`.
        void add() {
            recorder_.current_->next().kind = MVQuadEntry::Kind::Quad;
            recorder_.current_->add();
        }
        /// Takes note of the shader that the next quads are drawn with, unless it is one of another
        /// share group.
        /// @return whether they can be
        bool setShader(const std::shared_ptr<MVShader>& shader);
        /// Before anything else is done. There may be more quads later.
        void end();

     private:
        void begin();

        MVQuadRecorder& recorder_;
        const glm::mat4 projection_;
        bool isBegun_ = false;
    };

    const MVRenderContext& context() const { return context_; }

    /// Whether it ever has.
    bool hasRecorded() const { return hasRecorded_; }

    /// Records a step of a stencil level.
    void stencil(MVQuadEntry::Kind step, std::uint32_t level);
    /// Such a step as an entry.
    static MVQuadEntry stencilStep(MVQuadEntry::Kind step, std::uint32_t level);

 private:
    void makeRoom();
    void setProjection(const glm::mat4& projection);
    void commit();
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
