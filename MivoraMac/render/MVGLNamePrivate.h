#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "MivoraMac/Export.h"

class MVRenderGroup;

/// Owns one GL object, and with it the share group that the object is in: the object is used and
/// deleted there and nowhere else, whatever becomes of the contexts meanwhile.
///
/// Thread: any, save where marked "GL": in GL work of the group.
class MIVORA_EXPORT MVGLName {
 public:
    /// What can be owned.
    enum class Kind : std::uint8_t { Renderbuffer, Texture };

    /// Begins without an object.
    explicit MVGLName(Kind kind) : kind_(kind) {}
    /// Queues the deletion of the object, if there is one, behind what waits; in GL work of the
    /// group it is done at once.
    ~MVGLName();
    MVGLName(const MVGLName&) = delete;
    MVGLName& operator=(const MVGLName&) = delete;

    /// The name, 0 where there is none.
    std::uint32_t get() const { return name_.load(std::memory_order_acquire); }

    /// The name in a group: 0 where there is none or it is one of another group.
    std::uint32_t in(const MVRenderGroup* group) const;

    /// Makes an object. One that is owned already is left alone if it is in the same group, and
    /// deleted otherwise. Thread: GL.
    /// @return its name; 0 where the calling code is no GL work of the group
    std::uint32_t make(const std::shared_ptr<MVRenderGroup>& group);

    /// Owns nothing any more, and deletes nothing.
    void abandon();

 private:
    void remove(std::uint32_t name, const std::shared_ptr<MVRenderGroup>& group) const;

    const Kind kind_;
    std::atomic<std::uint32_t> name_{0};
    mutable std::mutex mutex_;
    std::shared_ptr<MVRenderGroup> group_;
    std::atomic<const MVRenderGroup*> owner_{nullptr};  ///< `group_`, for those without the lock.
};
