#include "MivoraMac/platform/gtk/GtkFrameSinkPrivate.h"

#include <epoxy/gl.h>
#include <gtk/gtk.h>

#include <cstddef>
#include <utility>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/gtk/GtkGLContextPrivate.h"
#include "MivoraMac/platform/threads/MainThread.h"

namespace Mivora::platform {

namespace {

using HeldFrame = std::shared_ptr<const Drawable::Frame>;

/// Lets go of a frame that a texture of the toolkit showed. The toolkit may be in the middle of
/// drawing, with its own context current, and the frame may be the last that holds its context: so
/// that goes in a later turn of the main loop.
void giveBack(gpointer data) {
    std::shared_ptr<HeldFrame> held(static_cast<HeldFrame*>(data));
    MainThread::perform([held = std::move(held)] {});
}

GdkTexture* textureOf(HeldFrame frame) {
    const Drawable::Frame& held = *frame;
    return gdk_gl_texture_new(GtkGLContext::forMainThread(), held.texture, held.size.width,
                              held.size.height, giveBack,
                              std::make_unique<HeldFrame>(std::move(frame)).release());
}

GdkTexture* textureOf(Picture picture) {
    auto pixels = std::make_unique<std::vector<std::uint8_t>>(std::move(picture.rgba));
    const void* const data = pixels->data();
    const std::size_t size = pixels->size();
    g_autoptr(GBytes) bytes = g_bytes_new_with_free_func(
        data, size,
        [](gpointer memory) {
            std::unique_ptr<std::vector<std::uint8_t>>(
                static_cast<std::vector<std::uint8_t>*>(memory))
                .reset();
        },
        pixels.release());
    return gdk_memory_texture_new(picture.size.width, picture.size.height,
                                  GDK_MEMORY_R8G8B8A8_PREMULTIPLIED, bytes,
                                  static_cast<gsize>(picture.size.width) * 4);
}

}  // namespace

GtkFrameSink::GtkFrameSink(std::function<void()> arrived) : arrived_(std::move(arrived)) {}

GtkFrameSink::~GtkFrameSink() {
    g_clear_object(&texture_);
}

void GtkFrameSink::connect(GLContext& context) {
    if (dynamic_cast<GtkGLContext*>(context.native().get()) == nullptr) {
        copyFrames();
    }
    context.setFrameHandler([weak = weak_from_this(), &context] {
        if (const auto self = weak.lock()) {
            self->take(context);
        }
    });
}

void GtkFrameSink::copyFrames() {
    if (!copies_.exchange(true)) {
        DebugLog::warn(DebugLog::Category::GL,
                       "the toolkit cannot show textures here: frames are copied");
    }
}

void GtkFrameSink::close() {
    Newest dropped;
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        hasNewest_ = false;
        dropped = std::exchange(newest_, {});
    }
    if (dropped.drawn != nullptr) {
        waitUntilDrawn(dropped.drawn);
    }
    g_clear_object(&texture_);
}

/// Runs where the frame was drawn, with the context current.
void GtkFrameSink::take(GLContext& context) {
    Newest taken;
    if (copies_) {
        taken.picture = context.drawable().readLatestFrame();
    } else {
        taken.frame = context.holdLatestFrame();
        taken.drawn = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
        glFlush();
    }
    {
        const std::lock_guard lock(mutex_);
        if (!closed_) {
            hasNewest_ = true;
            std::swap(newest_, taken);
        }
    }
    // What nobody has asked for yet, or everything once closed.
    if (taken.drawn != nullptr) {
        glDeleteSync(static_cast<GLsync>(taken.drawn));
    }
    tellArrived();
}

void GtkFrameSink::tellArrived() {
    if (told_.exchange(true)) {
        return;
    }
    MainThread::perform([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        self->told_ = false;
        bool isOpen = false;
        {
            const std::lock_guard lock(self->mutex_);
            isOpen = !self->closed_;
        }
        if (isOpen) {
            self->arrived_();
        }
    });
}

GdkTexture* GtkFrameSink::texture() {
    Newest newest;
    {
        const std::lock_guard lock(mutex_);
        if (!std::exchange(hasNewest_, false)) {
            return texture_;
        }
        newest = std::exchange(newest_, {});
    }
    g_clear_object(&texture_);
    isBottomUp_ = newest.frame != nullptr;
    if (newest.drawn != nullptr) {
        waitUntilDrawn(newest.drawn);
    }
    if (newest.frame) {
        texture_ = textureOf(std::move(newest.frame));
    } else if (!newest.picture.isEmpty()) {
        texture_ = textureOf(std::move(newest.picture));
    }
    return texture_;
}

/// The toolkit's renderer draws in another context, which sees the frame for certain only once it
/// is complete.
void GtkFrameSink::waitUntilDrawn(void* fence) {
    constexpr GLuint64 kLongestNanoseconds = 1'000'000'000;
    const auto sync = static_cast<GLsync>(fence);
    gdk_gl_context_make_current(GtkGLContext::forMainThread());
    glClientWaitSync(sync, 0, kLongestNanoseconds);
    glDeleteSync(sync);
}

}  // namespace Mivora::platform
