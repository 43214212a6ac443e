#include "MivoraMac/render/MVQuadRecorderPrivate.h"

#include <cstring>
#include <span>
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
    MVQuadRecorder* const recorder = recording();
    return recorder != nullptr && &recorder->context_ == context ? recorder : nullptr;
}

MVQuadRecorder* MVQuadRecorder::recording() {
    MVQuadRecorder* const recorder = recorderAtHand;
    return recorder != nullptr && MVRenderContext::mv_isActiveContext(&recorder->context_)
               ? recorder
               : nullptr;
}

bool MVQuadRecorder::Run::setShader(const std::shared_ptr<MVShader>& shader) {
    if (shader->mv_group() != recorder_.context_.mv_group()) {
        return false;
    }
    recorder_.context_.mv_noteShader(shader);
    return true;
}

/// Sees to it that there is a recording with room for a quad, and with its projection.
void MVQuadRecorder::Run::begin() {
    end();
    recorder_.makeRoom();
    recorder_.setProjection(projection_);
    isBegun_ = true;
}

void MVQuadRecorder::Run::end() {
    if (std::exchange(isBegun_, false)) {
        recorder_.commit();
    }
}

/// Makes what was added part of the queue's work. Where something else was queued meanwhile, it is
/// the beginning of the next recording.
void MVQuadRecorder::commit() {
    while (current_ != nullptr) {
        const std::span<const MVQuadEntry> added = current_->uncommitted();
        if (added.empty() || current_->commit()) {
            return;
        }
        const std::vector<MVQuadEntry> rest(added.begin(), added.end());
        makeRoom();
        // There is room: a recording with all this has been before, and no more.
        if (rest.front().kind == MVQuadEntry::Kind::Quad) {
            setProjection(projection_);
        }
        for (const MVQuadEntry& entry : rest) {
            current_->next() = entry;
            current_->add();
            hasProjection_ |= entry.kind == MVQuadEntry::Kind::Projection;
        }
    }
}

void MVQuadRecorder::stencil(MVQuadEntry::Kind step, std::uint32_t level) {
    batch_.expectStencils();
    makeRoom();
    if (!hasProjection_) {
        // In all likelihood that of the quads to come, which then needs no entry among them: it
        // would be between this group of levels and the next one.
        setProjection(projection_);
    }
    current_->next() = stencilStep(step, level);
    current_->add();
    commit();
}

MVQuadEntry MVQuadRecorder::stencilStep(MVQuadEntry::Kind step, std::uint32_t level) {
    MVQuadEntry entry{};
    entry.kind = step;
    entry.stencilLevel = static_cast<std::uint8_t>(level);
    return entry;
}

/// Adds the projection unless the recording at hand ends with that one, and sees to it that there
/// is room for what is drawn with it.
void MVQuadRecorder::setProjection(const glm::mat4& projection) {
    while (!hasProjection_ || std::memcmp(&projection, &projection_, sizeof(projection)) != 0 ||
           current_->isFull()) {
        if (current_->isFull()) {
            makeRoom();
            continue;
        }
        MVQuadEntry& entry = current_->next();
        entry.matrix = projection;
        entry.kind = MVQuadEntry::Kind::Projection;
        current_->add();
        projection_ = projection;
        hasProjection_ = true;
    }
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
