#include <epoxy/gl.h>

#include <utility>

#include "MivoraMac/render/MVGLNamePrivate.h"
#include "MivoraMac/render/MVRenderGroupPrivate.h"

namespace {

void deleteObject(MVGLName::Kind kind, GLuint name) {
    switch (kind) {
        case MVGLName::Kind::Renderbuffer:
            glDeleteRenderbuffers(1, &name);
            break;
        case MVGLName::Kind::Texture:
            glDeleteTextures(1, &name);
            break;
    }
}

GLuint makeObject(MVGLName::Kind kind) {
    GLuint name = 0;
    switch (kind) {
        case MVGLName::Kind::Renderbuffer:
            glGenRenderbuffers(1, &name);
            break;
        case MVGLName::Kind::Texture:
            glGenTextures(1, &name);
            break;
    }
    return name;
}

}  // namespace

MVGLName::~MVGLName() {
    remove(name_, group_);
}

std::uint32_t MVGLName::in(const MVRenderGroup* group) const {
    // Asked for by every image that is drawn. A name of another group is stored between two changes
    // of `owner_`, so that it is not taken for one of this group.
    const std::uint32_t name = owner_.load(std::memory_order_acquire) == group ? get() : 0;
    return owner_.load(std::memory_order_relaxed) == group ? name : 0;
}

std::uint32_t MVGLName::make(const std::shared_ptr<MVRenderGroup>& group) {
    if (!group->isCurrent()) {
        return 0;
    }
    const GLuint made = makeObject(kind_);
    std::uint32_t former = 0;
    std::shared_ptr<MVRenderGroup> formerGroup;
    {
        const std::lock_guard lock(mutex_);
        formerGroup = std::exchange(group_, group);
        if (formerGroup != group) {
            owner_ = nullptr;
        }
        former = name_.exchange(made, std::memory_order_acq_rel);
        owner_ = group.get();
    }
    if (formerGroup != group) {
        remove(former, formerGroup);
    }
    return made;
}

void MVGLName::abandon() {
    std::shared_ptr<MVRenderGroup> former;
    const std::lock_guard lock(mutex_);
    name_ = 0;
    owner_ = nullptr;
    former.swap(group_);
}

void MVGLName::remove(std::uint32_t name, const std::shared_ptr<MVRenderGroup>& group) const {
    if (name != 0 && group) {
        group->dispatch([kind = kind_, name] { deleteObject(kind, name); });
    }
}
