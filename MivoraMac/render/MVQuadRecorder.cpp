#include "MivoraMac/render/MVQuadRecorderPrivate.h"

#include <cstring>
#include <utility>

#include "MivoraMac/render/MVQuadBatchPrivate.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderGroupPrivate.h"
#include "MivoraMac/render/MVShader.h"

namespace {

// Asked for by every view that is drawn, so without the indirection of the dynamic TLS model.
[[gnu::tls_model("initial-exec")]] constinit thread_local MVQuadRecorder* recorderAtHand = nullptr;
[[gnu::tls_model("initial-exec")]] constinit thread_local int scopes = 0;

/// As many recordings (2 MiB) are kept for the next frame.
constexpr std::size_t kMostKept = 32;

}  // namespace

MVQuadRecorder::Scope::Scope() {
    if (scopes++ != 0 || MVRenderContext::mv_isOnRenderQueue()) {
        return;
    }
    context_ = MVRenderContext::mv_drawingContext();
    if (context_ != nullptr) {
        recorderAtHand = context_->mv_recorder();
    }
}

MVQuadRecorder::Scope::~Scope() {
    if (--scopes != 0) {
        return;
    }
    if (MVQuadRecorder* const recorder = std::exchange(recorderAtHand, nullptr)) {
        recorder->finish();
    }
}

MVQuadRecorder::MVQuadRecorder(MVRenderContext& context, MVQuadBatch& batch)
    : context_(context), batch_(batch) {}

MVQuadRecorder::~MVQuadRecorder() = default;

MVQuadRecorder* MVQuadRecorder::recording(const MVRenderContext* context) {
    MVQuadRecorder* const recorder = recorderAtHand;
    return recorder != nullptr && &recorder->context_ == context &&
                   MVRenderContext::mv_isActiveContext(context)
               ? recorder
               : nullptr;
}

void MVQuadRecorder::draw(const std::shared_ptr<MVShader>& shader, const MVQuadProgram& program,
                          const Quad& quad) {
    context_.mv_noteShader(shader);
    glm::mat4 projection(0.0F);
    glm::mat4 transform(0.0F);
    MVShader::mv_readQuadMatrices(projection, transform);
    bool committed = false;
    while (!committed) {
        makeRoom();
        if (!commitProjection(projection)) {
            continue;
        }
        MVQuadEntry& entry = current_->next();
        entry.matrix = transform;
        entry.tint = quad.tint;
        entry.textureCoordinates = quad.textureCoordinates;
        entry.size = quad.size;
        entry.program = program;
        entry.texture = quad.texture;
        entry.kind = MVQuadEntry::Kind::Quad;
        entry.blend = quad.blend;
        entry.rebuilt = quad.rebuilt;
        committed = current_->commit();
    }
}

void MVQuadRecorder::stencil(MVQuadEntry::Kind step, std::uint32_t level) {
    bool committed = false;
    while (!committed) {
        makeRoom();
        current_->next() = stencilStep(step, level);
        committed = current_->commit();
    }
}

MVQuadEntry MVQuadRecorder::stencilStep(MVQuadEntry::Kind step, std::uint32_t level) {
    MVQuadEntry entry{};
    entry.kind = step;
    entry.stencilLevel = static_cast<std::uint8_t>(level);
    return entry;
}

/// Adds the projection unless the recording at hand ends with that one.
/// @return whether there is room for what is drawn with it
bool MVQuadRecorder::commitProjection(const glm::mat4& projection) {
    if (hasProjection_ && std::memcmp(&projection, &projection_, sizeof(projection)) == 0) {
        return true;
    }
    MVQuadEntry& entry = current_->next();
    entry.matrix = projection;
    entry.kind = MVQuadEntry::Kind::Projection;
    if (!current_->commit()) {
        hasProjection_ = false;
        current_ = nullptr;
        return false;
    }
    projection_ = projection;
    hasProjection_ = true;
    return !current_->isFull();
}

/// Sees to it that there is a recording to add to.
void MVQuadRecorder::makeRoom() {
    if (current_ != nullptr && !current_->isClosed() && !current_->isFull()) {
        return;
    }
    std::shared_ptr<MVQuadRecording> recording;
    for (std::size_t i = 0; i < recordings_.size() && recording == nullptr; ++i) {
        lastUsed_ = lastUsed_ + 1 < recordings_.size() ? lastUsed_ + 1 : 0;
        if (recordings_[lastUsed_]->isIdle()) {
            recording = recordings_[lastUsed_];
        }
    }
    if (recording == nullptr) {
        recording = std::make_shared<MVQuadRecording>(batch_);
        if (recordings_.size() < kMostKept) {
            recordings_.push_back(recording);
        } else {
            beyondKept_ = recording;
        }
    }
    if (!std::exchange(hasRecorded_, true)) {
        context_.mv_group()->addRecorder();
    }
    recording->begin();
    current_ = recording.get();
    hasProjection_ = false;
    context_.mv_queueGrowing(std::move(recording));
}

/// Queues what has been recorded.
void MVQuadRecorder::finish() {
    if (current_ != nullptr) {
        context_.dispatchQueue()->queueGrowing();
        current_ = nullptr;
        beyondKept_ = nullptr;
    }
}
