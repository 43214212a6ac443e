#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/threads/SerialQueue.h"

class MVQuadBatch;

/// The render contexts that share objects, and these objects: one queue and one native context.
///
/// It lives as long as any context of it, or any GL object (`MVGLName`): a name never outlives the
/// objects that it may stand for, and what is kept across the end of all applications is found
/// again by the next one.
///
/// Thread: any.
class MIVORA_EXPORT MVRenderGroup : public std::enable_shared_from_this<MVRenderGroup>,
                                    private Mivora::platform::QueueScope {
 public:
    /// @param queue    where all GL work of the group runs; not null
    /// @param context  one over the native context of the group; null where there is none
    static std::shared_ptr<MVRenderGroup> create(
        std::shared_ptr<Mivora::platform::SerialQueue> queue,
        const std::shared_ptr<Mivora::platform::GLContext>& context);

    ~MVRenderGroup() override;

    /// Where all GL work of the group runs.
    const std::shared_ptr<Mivora::platform::SerialQueue>& queue() const { return queue_; }

    /// A context to share objects with, in which nobody draws; null where there is no GL.
    const std::shared_ptr<Mivora::platform::GLContext>& context() const { return context_; }

    /// What draws the recordings of all its contexts.
    MVQuadBatch& batch() { return *batch_; }
    /// A context begins to record for the batch, or goes after it has. With the last of them go
    /// the objects that the batch draws with.
    void addRecorder() { recorders_.fetch_add(1, std::memory_order_relaxed); }
    void removeRecorder();

    /// Whether the calling code is GL work of this group.
    bool isCurrent() const;

    /// Runs `closure` as GL work of this group, whichever context is the active one: inline where
    /// the calling code is such work, later otherwise, and never among the objects of another
    /// group. Does nothing where there is no GL.
    template <class Closure>
    void dispatch(Closure&& closure) {
        if (isCurrent()) {
            Mivora::platform::runLogged(closure);
        } else {
            dispatchLater(std::forward<Closure>(closure));
        }
    }

    /// As `dispatch`, always behind what waits on the queue.
    template <class Closure>
    void dispatchLater(Closure&& closure) {
        if (context_) {
            queue_->asyncInScope(*this, std::forward<Closure>(closure));
        }
    }

 private:
    friend struct ::MVMaker;
    MVRenderGroup(std::shared_ptr<Mivora::platform::SerialQueue> queue,
                  const std::shared_ptr<Mivora::platform::GLContext>& context);

    std::shared_ptr<QueueScope> retainScope() override;
    void enterScope() override;
    void leaveScope() override;
    const void* commonScope() const override;
    void takeOverScope() override;

    std::shared_ptr<Mivora::platform::SerialQueue> queue_;
    std::shared_ptr<Mivora::platform::GLContext> context_;
    std::shared_ptr<MVQuadBatch> batch_;
    std::atomic<int> recorders_{0};
};
