#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/platform/pictures/Picture.h"

typedef struct _GdkTexture GdkTexture;

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

    /// Has frames copied from the next one on, because the renderer has no part in GL. Thread:
    /// main.
    void copyFrames();

    /// The newest frame, or null. The same object until there is a newer one. Thread: main.
    GdkTexture* texture();

    /// Whether `texture` has its bottom row first.
    bool isBottomUp() const { return isBottomUp_; }

 private:
    struct Newest {
        std::shared_ptr<const Drawable::Frame> frame;  // or else the picture
        void* drawn = nullptr;                         // GL fence: when the frame is complete
        Picture picture;
    };

    void take(GLContext& context);
    void tellArrived();
    static void waitUntilDrawn(void* fence);

    const std::function<void()> arrived_;
    std::atomic<bool> copies_{false};
    std::atomic<bool> told_{false};

    std::mutex mutex_;
    Newest newest_;  // not asked for yet
    bool hasNewest_ = false;
    bool closed_ = false;

    // Main thread.
    GdkTexture* texture_ = nullptr;
    bool isBottomUp_ = false;
};

}  // namespace Mivora::platform
