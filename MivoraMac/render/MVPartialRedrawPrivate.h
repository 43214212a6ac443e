#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/geometry/Float4Private.h"
#include "MivoraMac/platform/gl/PixelRegion.h"
#include "MivoraMac/render/MVQuadEntryPrivate.h"
#include "MivoraMac/render/MVTileSetPrivate.h"

namespace Mivora::platform {
class GLContext;
}

class MVQuadBatch;

/// Draws the frames of what a context shows, and of each no more than what differs from the one
/// before, where that is certain: all of both was recorded, and in between there was no GL work
/// that textures or the framebuffer could have been changed by. Such a frame is held back until its
/// end. Then it is compared with the one before, drawing by drawing; the boxes around those that
/// differ are cleared and drawn again. Where no edge lies across pixels, one sample of each is
/// enough: such parts are drawn into the picture that will be shown, rather than into the
/// multisampled framebuffer. All pixels, but for rounding, and all GL state are as if the whole
/// frame had been cleared and drawn.
///
/// For software rasterizers, which spend their time on pixels. The environment variable
/// MIVORA_PARTIAL_REDRAW=0 has every frame drawn whole.
///
/// Thread: the GL queue's, with a context current of the group that the batch belongs to.
class MVPartialRedraw {
 public:
    /// @param batch    draws the frames; it outlives them
    /// @param context  whose drawable the frames go into
    MVPartialRedraw(MVQuadBatch& batch, std::shared_ptr<Mivora::platform::GLContext> context);
    ~MVPartialRedraw();

    /// Binds the framebuffer for a frame that is recorded from here on, and clears it unless the
    /// frame is held back. A frame that has not been ended is given up.
    static void begin(const std::shared_ptr<MVPartialRedraw>& self, Mivora::ColorRGBA clearColor);

    /// The frame is complete: what was held back of it is drawn.
    void end();

    /// Others were drawn into the frame on the way. It stays incomplete.
    void abandon();

    /// The framebuffer is about to be shown.
    void willShow() const;

    /// Has in the multisampled framebuffer what was drawn elsewhere.
    void catchUp() const;

    /// Takes note of drawings that are part of the frame.
    /// @return whether they are held back, or else are to be drawn
    bool take(std::span<const MVQuadEntry> entries);

    /// Draws what is held back, and the rest of the frame as it comes. To be called before anybody
    /// else looks at the framebuffer or at GL's state.
    void giveUp();

 private:
    /// A quad that may be seen, to compare with one of another frame.
    struct Mark {
        std::uint64_t hash = 0;  ///< of all that its pixels depend on, but for what textures hold
        // The box beyond which it has no pixel in the framebuffer.
        std::int16_t left = 0;
        std::int16_t bottom = 0;
        std::int16_t right = 0;
        std::int16_t top = 0;
    };

    /// A stencil level that has begun.
    struct Level {
        std::uint64_t hash = 0;          ///< of its shape and those of the levels around it
        Mivora::platform::PixelBox box;  ///< around what has a bit of these shapes
        bool isShape = true;             ///< What is drawn is its shape.
        std::size_t begin = 0;           ///< its first entry among those held back
    };

    /// Pixels that an opaque quad covers with all their samples.
    struct Cover {
        Mivora::platform::PixelBox box;
        std::size_t entry = 0;  ///< the quad, among those held back
    };

    /// The boxes that a frame is drawn in.
    struct Parts {
        std::vector<Mivora::platform::PixelBox> multisampled;
        std::vector<Mivora::platform::PixelBox> resolved;  ///< no edge lies across pixels of these
    };

    bool canHoldBack(Mivora::ColorRGBA clearColor) const;
    bool mark(const MVQuadEntry& entry);
    void markQuad(const MVQuadEntry& entry, const Mivora::platform::PixelBox& box,
                  const Mivora::Float4x4& matrix);
    std::uint64_t hashOfViewport() const;
    Mivora::platform::PixelBox all() const;
    Mivora::platform::PixelBox viewport() const;
    Mivora::platform::PixelBox boxOf(const Mivora::Float4x4& matrix, Mivora::Size2 size) const;
    void markPlace(const MVQuadEntry& entry, const Mivora::platform::PixelBox& box,
                   const Mivora::Float4x4& matrix);
    Mivora::platform::PixelRegion findChange() const;
    Parts partsOf(const Mivora::platform::PixelRegion& region) const;
    void draw(const Parts& parts);
    void drawMultisampled(const Mivora::platform::PixelBox& box);
    void drawResolved(const Mivora::platform::PixelBox& box);
    std::optional<std::size_t> coverOf(const Mivora::platform::PixelBox& box) const;
    void clearUncovered(const Mivora::platform::PixelBox& box) const;
    std::vector<Mivora::platform::PixelBox> uncovered(const Mivora::platform::PixelBox& box) const;
    void drawWithin(const Mivora::platform::PixelBox& box, std::size_t first = 0);
    std::size_t hideStencil(std::size_t begin);
    void clear() const;

    MVQuadBatch& batch_;
    const std::shared_ptr<Mivora::platform::GLContext> context_;
    const bool isOn_;

    // The frame at hand.
    bool isMarking_ = false;      ///< and all of it has been marked so far
    bool isHoldingBack_ = false;  ///< and then it is marked as well
    Mivora::ColorRGBA clearColor_;
    std::optional<Mivora::Float4x4> projection_;
    std::array<int, 4> viewport_{};
    std::vector<Mark> marks_;
    std::vector<Level> levels_;
    bool hasStencils_ = false;
    std::vector<MVQuadEntry> held_;
    std::vector<Mivora::platform::PixelBox> boxes_;  ///< of these: of quads and of stencil levels
    std::vector<Cover> covers_;                      ///< in the order of their quads
    MVTileSet edges_;                                ///< and of what is not in a stencil level
    MVTileSet stencils_;                             ///< where there are levels
    std::vector<MVQuadEntry> seen_;                  ///< as `held_`, but for what is not drawn

    // The frame before, or the one at hand until something of it is drawn.
    bool isKnown_ = false;
    std::vector<Mark> before_;
    bool hadStencils_ = false;
    MVTileSet stencilsBefore_;
    std::uint64_t otherWork_ = 0;  ///< what was known of when it was ended
    std::uint64_t timesBuilt_ = 0;
};
