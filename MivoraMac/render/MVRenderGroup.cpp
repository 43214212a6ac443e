#include "MivoraMac/render/MVRenderGroupPrivate.h"

#include "MivoraMac/render/MVQuadBatchPrivate.h"

using Mivora::platform::GLContext;
using Mivora::platform::SerialQueue;

std::shared_ptr<MVRenderGroup> MVRenderGroup::create(std::shared_ptr<SerialQueue> queue,
                                                     const std::shared_ptr<GLContext>& context) {
    return MVMake<MVRenderGroup>(std::move(queue), context);
}

MVRenderGroup::MVRenderGroup(std::shared_ptr<SerialQueue> queue,
                             const std::shared_ptr<GLContext>& context)
    : queue_(std::move(queue)),
      context_(context ? GLContext::initWithFormatShareContext(context->pixelFormat(), context)
                       : nullptr),
      batch_(std::make_shared<MVQuadBatch>()) {}

MVRenderGroup::~MVRenderGroup() {
    if (context_ && (context_->native()->hasWaitingWork() || batch_->hasObjects())) {
        queue_->async([context = std::move(context_), batch = std::move(batch_)] {
            context->makeCurrentContext();
            batch->release();
            GLContext::clearCurrentContext();
        });
    }
}

void MVRenderGroup::removeRecorder() {
    if (recorders_.fetch_sub(1, std::memory_order_relaxed) == 1) {
        dispatchLater([batch = batch_] { batch->release(); });
    }
}

bool MVRenderGroup::isCurrent() const {
    const GLContext* const current = GLContext::currentContext();
    return current != nullptr && context_ && current->native() == context_->native();
}

std::shared_ptr<Mivora::platform::QueueScope> MVRenderGroup::retainScope() {
    if (std::shared_ptr<MVRenderGroup> self = weak_from_this().lock()) {
        return {self, static_cast<QueueScope*>(this)};
    }
    return nullptr;
}

void MVRenderGroup::enterScope() {
    context_->makeCurrentContext();
    context_->lock();
    batch_->otherWorkComes();
}

void MVRenderGroup::leaveScope() {
    batch_->settle();
    context_->unlock();
    GLContext::clearCurrentContext();
}

const void* MVRenderGroup::commonScope() const {
    return context_->native().get();
}

void MVRenderGroup::takeOverScope() {
    batch_->settle();
    context_->replaceCurrentContext();
    batch_->otherWorkComes();
}
