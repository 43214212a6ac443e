#pragma once

#include <cstdint>
#include <memory>

class MVRenderSurfaceBuffer;

/// One of the framebuffers of a render surface, with what GL work has attached to it so far.
///
/// Mesa 22.3 refuses framebuffers with separate depth and stencil storage, though it takes either
/// alone. There the depth buffer gets packed storage that serves both attachment points, and the
/// stencil buffer stays unused for as long as there are both.
///
/// In GL work only.
class MVSurfaceFramebuffer {
 public:
    /// The GL name; 0 before `generate`.
    std::uint32_t name() const { return name_; }

    /// Makes the framebuffer, unless there was one already.
    void generate();

    /// Deletes it. The name stays, stale.
    void remove();

    /// Binds the framebuffer and attaches a buffer to it, or detaches what is there.
    /// @param attachment  a GL attachment point
    /// @param buffer      null for nothing
    void attach(std::uint32_t attachment, const std::shared_ptr<MVRenderSurfaceBuffer>& buffer);

    /// Binds the framebuffer, fit to be drawn into.
    void bind();

    /// Binds the framebuffer and asks the driver for its status. One that is incomplete is made
    /// complete where the pair of depth and stencil is why, and logged otherwise.
    void check();

 private:
    using Buffer = std::shared_ptr<MVRenderSurfaceBuffer>;

    bool hasPair() const { return depth_ && stencil_; }
    void placeStencil();

    std::uint32_t name_ = 0;
    Buffer depth_;
    Buffer stencil_;
    bool isPairKnown_ = false;  // the driver has said what it makes of both together
    bool isPacked_ = false;     // it refuses both together
};
