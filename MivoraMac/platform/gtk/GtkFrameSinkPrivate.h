#pragma once

#include <gtk/gtk.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/platform/gtk/GtkFrameCopiesPrivate.h"
#include "MivoraMac/platform/gtk/GtkSharedMemoryPrivate.h"

namespace Mivora::platform {

class GLContext;

/// Takes frames from the thread that draws them to the toolkit on the main thread: as textures,
/// which the toolkit's renderer samples where they are, or copied, where the renderer has no part
/// in GL.
class GtkFrameSink : public std::enable_shared_from_this<GtkFrameSink> {
 public:
    /// @param arrived  called on the main thread after new frames, once for those that come
    ///                 together; not after `close`
    explicit GtkFrameSink(std::function<void()> arrived);
    ~GtkFrameSink();

    /// Takes the frames of a context in the place of those of another. Thread: main.
    void connect(GLContext& context);

    /// Takes no more frames and lets go of those it has. Thread: main.
    void close();

    /// The toolkit draws with this renderer from now on; null for none. One that draws in memory
    /// has no part in GL: frames are copied from the next one on. Thread: main.
    void setRenderer(GskRenderer* renderer);

    /// Where frames are shown: from the top left corner on, in points.
    struct Place {
        float width = 0;
        float height = 0;
        bool isOpaque = false;  ///< what a frame has left transparent is on black
        bool operator==(const Place&) const = default;
    };

    /// Appends the newest frame, as the same node as before while that is the same. Thread: main.
    void snapshot(GtkSnapshot* snapshot, const Place& place);

 private:
    struct Newest {
        std::shared_ptr<const Drawable::Frame> frame;  // or else the copy
        void* drawn = nullptr;                         // GL fence: when the frame is complete
        std::shared_ptr<GtkFrameCopies::Copy> copy;
        PixelRegion changed;  // where the copy differs from what was asked for last
    };

    void take(GLContext& context);
    void copyFrames();
    void tellArrived();
    bool showNewest();
    void showNothing();
    bool updatePicture(Newest& newest);
    GskRenderNode* makeNode() const;
    GskRenderNode* makePictureNode();
    static void waitUntilDrawn(void* fence);

    const std::function<void()> arrived_;
    std::atomic<bool> copies_{false};
    std::atomic<bool> told_{false};
    const std::shared_ptr<GtkFrameCopies> memory_ = std::make_shared<GtkFrameCopies>();

    std::mutex mutex_;
    Newest newest_;  // not asked for yet
    bool hasNewest_ = false;
    bool closed_ = false;
    bool startsAnew_ = true;  // the next frame has to do with none before it
    PixelSize latestSize_;    // of the copy taken last

    // Main thread.
    bool isDrawnInMemory_ = false;
    GdkDisplay* display_ = nullptr;               // if so; not owned
    std::shared_ptr<GtkFrameCopies::Copy> copy_;  // what is shown, or else the texture
    PixelRegion changed_;                         // where that was brought up to date last
    GtkSharedMemory shared_{nullptr, cairo_surface_destroy};  // for as long as it is drawn
    GskRenderNode* picture_ = nullptr;  // shows the copy where the toolkit draws in memory
    GdkTexture* texture_ = nullptr;
    GskRenderNode* node_ = nullptr;  // shows it at the place
    Place place_;
};

}  // namespace Mivora::platform
