#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/gl/PixelRegion.h"
#include "MivoraMac/platform/pictures/Picture.h"

namespace Mivora::platform {

/// The framebuffer behind a native view: what the library draws into as its default framebuffer.
///
/// Drawing goes into a multisampled colour and depth/stencil framebuffer; `flush` resolves it into
/// the older of two textures and publishes that one, so the newest complete frame can always be
/// shown while the next is being drawn. Who shows frames for longer holds them: their textures are
/// passed over, and others take their turn.
///
/// What needs no more than one sample a pixel may be drawn straight into that texture. The
/// multisampled framebuffer is behind it then, and catches up before others draw there.
///
/// Of whoever draws beside it, it disturbs nothing: whatever it binds, it binds back.
///
/// Threads: as marked. "GL" means a thread on which the owning context is current.
class MIVORA_EXPORT Drawable {
 public:
    /// The newest published picture.
    struct Frame {
        std::uint32_t texture = 0;  ///< GL name; 0 before the first `flush`
        PixelSize size;             ///< of the texture; zero before the first `flush`
        std::uint64_t serial = 0;   ///< counts up by one with every published frame
    };

    /// @param samples  samples a pixel; 0 or 1 for none. More than the driver offers: its maximum.
    explicit Drawable(int samples);
    Drawable(const Drawable&) = delete;
    Drawable& operator=(const Drawable&) = delete;
    /// The GL objects must have been released, or have gone with their context.
    ~Drawable();

    /// Asks for another size, in pixels; it takes effect when `framebuffer` is next called, with
    /// undefined contents. Negative values count as 0. Thread: any.
    void setSize(PixelSize size);

    /// The size last asked for. Thread: any.
    PixelSize size() const;

    /// The framebuffer's name, at the size last asked for. While that has no area, or when the
    /// driver cannot provide it (logged), one of a single pixel that is never published: drawing
    /// goes nowhere then, and raises no error. Thread: GL.
    std::uint32_t framebuffer();

    /// As `framebuffer`, for a frame that is drawn bit by bit: until `endFrame` there is nothing
    /// fit to be shown, and `flush` does nothing. A frame that is never ended is superseded by
    /// the next. Thread: GL.
    std::uint32_t beginFrame();

    /// The frame begun last is complete. Thread: GL.
    void endFrame();

    /// The frame begun last is complete, and like the one that was ended before it in all pixels
    /// but these. Thread: GL.
    /// @param multisampled  those of them that were drawn into the framebuffer; the others were
    ///                      drawn into the resolved one
    void endFrame(const PixelRegion& changed, std::span<const PixelBox> multisampled);

    /// Whether the framebuffer has more than one sample a pixel. Thread: GL.
    bool isMultisampled() const { return isPublished_ && builtSamples_ > 1; }

    /// For the frame that has begun: a framebuffer with the picture that `flush` will publish, one
    /// sample a pixel and nothing but colours. It holds the frame that was ended last. Thread: GL.
    /// @param overwritten  where all pixels will be drawn over: there it may hold anything
    std::uint32_t resolvedFramebuffer(std::span<const PixelBox> overwritten);

    /// Brings into the framebuffer what was drawn into the resolved one alone. Before anybody
    /// draws there who does not draw over all of it. Thread: GL.
    void catchUp();

    /// Instead, where all of the framebuffer is about to be drawn over. Thread: GL.
    void neverMindCatchingUp() { behind_ = {}; }

    /// Whether one of these is called for. Thread: GL.
    bool isBehind() const { return !behind_.isEmpty(); }

    /// Others may have drawn since the last frame was ended. Thread: GL.
    void forgetChange();

    /// How often the framebuffer has been made anew, with undefined contents. Thread: GL.
    std::uint64_t timesBuilt() const { return timesBuilt_; }

    /// The size of the framebuffer as it was asked for last. Thread: GL.
    PixelSize builtSize() const { return builtSize_; }

    /// Resolves what was drawn and publishes it, unless there is no area, nothing was drawn into,
    /// or a frame is incomplete: who ends that frame flushes it. Thread: GL.
    void flush();

    /// Thread: any.
    Frame latestFrame() const;

    /// Where the newest published frame differs from the one published before it. Thread: GL.
    const PixelRegion& latestChange() const { return latestChange_; }

    /// The newest published frame, whose texture is not drawn into until it has been given back as
    /// often as it was held. Before the first frame there is nothing to hold, nor to give back.
    /// Thread: any.
    Frame holdLatestFrame();

    /// Gives back a frame that was held. Thread: any.
    void giveBack(const Frame& frame);

    /// Reads the newest published frame; an empty picture before the first. Thread: GL.
    Picture readLatestFrame() const;

    /// Reads the newest published frame into memory that may be used again.
    /// @param argb  gets as many pixels, the top row first: each alpha, red, green and blue from
    /// the
    ///              highest byte to the lowest, colours as they were drawn
    /// @return the size; zero, and nothing is read, before the first frame. Thread: GL.
    PixelSize readLatestFrame(std::vector<std::uint32_t>& argb) const;

    /// The most pixels a side of a texture or buffer, as the driver of the current context says.
    /// Thread: GL.
    static std::uint64_t largestExtent();

    /// Whether there is anything to release. Thread: that of the owner, while nobody draws.
    bool hasGLObjects() const { return framebuffer_ != 0 || latest_.texture != 0; }

    /// Deletes every GL object. Thread: GL.
    void release();

 private:
    struct Target {
        std::uint32_t texture = 0;
        std::uint32_t framebuffer = 0;
        PixelSize size;
        PixelRegion stale;  ///< where it shows an older frame than the newest published one
    };

    /// What was drawn since the last `flush`, as far as this has been told.
    enum class Change { None, Known, Unknown };

    void keepToSize();
    void build(PixelSize size);
    bool buildMultisampled(PixelSize size, int samples);
    void buildTarget(Target& target);
    Target& bringForward(std::span<const PixelBox> overwritten);
    std::size_t targetToDrawInto();
    void releaseMultisampled();
    static void releaseTarget(Target& target);
    static void read(const Target& target, std::uint32_t format, std::uint32_t type, void* pixels);

    const int samples_;

    // GL thread.
    std::uint32_t framebuffer_ = 0;
    std::uint32_t colorBuffer_ = 0;
    std::uint32_t depthStencilBuffer_ = 0;
    PixelSize builtSize_;
    int builtSamples_ = 0;
    bool isPublished_ = false;   // or else the framebuffer is the one of a single pixel
    bool isIncomplete_ = false;  // a frame has begun
    std::uint64_t timesBuilt_ = 0;
    Change change_ = Change::None;
    PixelRegion changed_;  // if that is known
    PixelRegion latestChange_;
    std::vector<PixelBox> unresolved_;  // what no target has yet of what is in the framebuffer
    PixelRegion behind_;                // what the framebuffer may lack
    bool isResolvedDrawn_ = false;      // whether the frame at hand draws into the resolved one
    std::vector<Target> targets_{2};    // more than two where frames are held
    std::size_t newest_ = 0;
    std::optional<std::size_t> next_;  // the one to be published, once something is in it

    mutable std::mutex mutex_;
    PixelSize wantedSize_;
    Frame latest_;
    std::vector<std::uint32_t> held_;  // textures, each as often as it is held
};

}  // namespace Mivora::platform
