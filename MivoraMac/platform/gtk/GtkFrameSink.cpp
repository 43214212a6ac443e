#include "MivoraMac/platform/gtk/GtkFrameSinkPrivate.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
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

using FrameCopy = std::shared_ptr<GtkFrameCopies::Copy>;

GdkTexture* textureOf(FrameCopy copy) {
    const GtkFrameCopies::Copy& frame = *copy;
    g_autoptr(GBytes) bytes = g_bytes_new_with_free_func(
        frame.argb.data(), frame.argb.size() * sizeof frame.argb[0],
        [](gpointer data) { std::unique_ptr<FrameCopy>(static_cast<FrameCopy*>(data)).reset(); },
        std::make_unique<FrameCopy>(std::move(copy)).release());
    return gdk_memory_texture_new(frame.size.width, frame.size.height, GDK_MEMORY_DEFAULT, bytes,
                                  static_cast<gsize>(frame.size.width) * 4);
}

/// What a pattern of cairo's shows: it keeps the frame, and makes a surface of it only to draw.
struct DrawnCopy {
    FrameCopy copy;
    bool isOpaque = false;
};

cairo_pattern_t* patternOf(const FrameCopy& copy, bool isOpaque) {
    const PixelSize size = copy->size;
    cairo_pattern_t* const pattern = cairo_pattern_create_raster_source(
        std::make_unique<DrawnCopy>(DrawnCopy{copy, isOpaque}).release(),
        isOpaque ? CAIRO_CONTENT_COLOR : CAIRO_CONTENT_COLOR_ALPHA, size.width, size.height);
    cairo_raster_source_pattern_set_acquire(
        pattern,
        [](cairo_pattern_t*, void* data, cairo_surface_t*, const cairo_rectangle_int_t*) {
            const auto& drawn = *static_cast<const DrawnCopy*>(data);
            return cairo_image_surface_create_for_data(
                reinterpret_cast<unsigned char*>(drawn.copy->argb.data()),
                drawn.isOpaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, drawn.copy->size.width,
                drawn.copy->size.height, drawn.copy->size.width * 4);
        },
        [](cairo_pattern_t*, void*, cairo_surface_t* surface) { cairo_surface_destroy(surface); });
    cairo_raster_source_pattern_set_copy(
        pattern, [](cairo_pattern_t* made, void* data, const cairo_pattern_t*) {
            cairo_raster_source_pattern_set_callback_data(
                made, std::make_unique<DrawnCopy>(*static_cast<const DrawnCopy*>(data)).release());
            return CAIRO_STATUS_SUCCESS;
        });
    cairo_raster_source_pattern_set_finish(pattern, [](cairo_pattern_t*, void* data) {
        std::unique_ptr<DrawnCopy>(static_cast<DrawnCopy*>(data)).reset();
    });
    return pattern;
}

/// As a drawing of cairo's: GTK 4.8, where it draws in memory, takes the pixels of textures apart
/// into floating-point numbers, and puts them together again, for every frame.
void appendDrawing(GtkSnapshot* snapshot, const FrameCopy& copy, const graphene_rect_t& all,
                   bool isOpaque) {
    cairo_pattern_t* const pattern = patternOf(copy, isOpaque);
    cairo_matrix_t toPixels;
    cairo_matrix_init_scale(&toPixels, copy->size.width / static_cast<double>(all.size.width),
                            copy->size.height / static_cast<double>(all.size.height));
    cairo_pattern_set_matrix(pattern, &toPixels);
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
    cairo_t* const drawing = gtk_snapshot_append_cairo(snapshot, &all);
    cairo_set_source(drawing, pattern);
    cairo_paint(drawing);
    cairo_destroy(drawing);
    cairo_pattern_destroy(pattern);
}

/// Has malloc keep the pictures of the window's size that the toolkit and cairo take and free for
/// every frame, rather than get all their pages anew from the system. By freeing a larger block:
/// that is what glibc goes by, unless the program or the user has told it what to keep.
void haveMallocKeep(PixelSize size) {
    constexpr std::size_t kPictures = 2;
    void* volatile block = std::malloc(kPictures * 4 * static_cast<std::size_t>(size.width) *
                                       static_cast<std::size_t>(size.height));
    std::free(block);
}

}  // namespace

GtkFrameSink::GtkFrameSink(std::function<void()> arrived) : arrived_(std::move(arrived)) {}

GtkFrameSink::~GtkFrameSink() {
    showNothing();
}

void GtkFrameSink::showNothing() {
    g_clear_pointer(&node_, gsk_render_node_unref);
    g_clear_pointer(&picture_, gsk_render_node_unref);
    g_clear_object(&texture_);
    copy_.reset();
}

void GtkFrameSink::connect(GLContext& context) {
    if (dynamic_cast<GtkGLContext*>(context.native().get()) == nullptr) {
        copyFrames();
    }
    {
        const std::lock_guard lock(mutex_);
        startsAnew_ = true;
    }
    context.setFrameHandler([weak = weak_from_this(), &context] {
        if (const auto self = weak.lock()) {
            self->take(context);
        }
    });
}

void GtkFrameSink::setRenderer(GskRenderer* renderer) {
    const bool isDrawnInMemory = renderer != nullptr && GSK_IS_CAIRO_RENDERER(renderer);
    if (isDrawnInMemory) {
        copyFrames();
        display_ = gdk_surface_get_display(gsk_renderer_get_surface(renderer));
    }
    if (isDrawnInMemory_ != isDrawnInMemory) {
        isDrawnInMemory_ = isDrawnInMemory;
        g_clear_pointer(&node_, gsk_render_node_unref);
        g_clear_pointer(&picture_, gsk_render_node_unref);
    }
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
    showNothing();
    shared_.reset();
}

/// Runs where the frame was drawn, with the context current.
void GtkFrameSink::take(GLContext& context) {
    Newest taken;
    if (copies_) {
        taken.copy = memory_->take(context.drawable().latestFrame().size);
        context.drawable().readLatestFrame(taken.copy->argb);
        taken.changed = context.drawable().latestChange();
    } else {
        taken.frame = context.holdLatestFrame();
        taken.drawn = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
        glFlush();
    }
    {
        const std::lock_guard lock(mutex_);
        if (!closed_) {
            const bool follows =
                !std::exchange(startsAnew_, false) && taken.copy && taken.copy->size == latestSize_;
            if (taken.copy && !follows) {
                taken.changed = PixelRegion::whole(taken.copy->size);
            } else if (hasNewest_) {
                taken.changed.add(newest_.changed);
            }
            latestSize_ = taken.copy ? taken.copy->size : PixelSize();
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

void GtkFrameSink::snapshot(GtkSnapshot* snapshot, const Place& place) {
    const bool isNewer = showNewest();
    if (place.width <= 0 || place.height <= 0) {
        return;
    }
    if (isNewer || node_ == nullptr || place_ != place) {
        g_clear_pointer(&node_, gsk_render_node_unref);
        if (place_ != place) {
            place_ = place;
            g_clear_pointer(&picture_, gsk_render_node_unref);
        }
        node_ = copy_ && isDrawnInMemory_ ? makePictureNode() : makeNode();
    }
    if (node_ != nullptr) {
        gtk_snapshot_append_node(snapshot, node_);
    }
}

/// @return whether there is one that was not shown yet
bool GtkFrameSink::showNewest() {
    Newest newest;
    {
        const std::lock_guard lock(mutex_);
        if (!std::exchange(hasNewest_, false)) {
            return false;
        }
        newest = std::exchange(newest_, {});
    }
    if (updatePicture(newest)) {
        return true;
    }
    if (newest.copy && isDrawnInMemory_ && (!copy_ || copy_->size != newest.copy->size)) {
        haveMallocKeep(newest.copy->size);
        shared_ = keepSharedMemory(display_, newest.copy->size);
    }
    showNothing();
    if (newest.drawn != nullptr) {
        waitUntilDrawn(newest.drawn);
    }
    copy_ = std::move(newest.copy);
    if (newest.frame) {
        texture_ = textureOf(std::move(newest.frame));
    }
    return true;
}

/// Brings what is shown up to date in its place, if its node can stay.
/// @return whether it has
bool GtkFrameSink::updatePicture(Newest& newest) {
    if (picture_ == nullptr || !newest.copy || !copy_ || newest.copy->size != copy_->size) {
        return false;
    }
    const PixelSize size = copy_->size;
    changed_ = newest.changed;
    if (std::ranges::equal(changed_.boxes(), PixelRegion::whole(size).boxes())) {
        copy_->argb.swap(newest.copy->argb);
        return true;
    }
    for (const PixelBox& box : newest.changed.boxes()) {
        for (int row = size.height - box.top; row < size.height - box.bottom; ++row) {
            const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(row) * size.width + box.left;
            std::copy_n(newest.copy->argb.begin() + first, box.width(),
                        copy_->argb.begin() + first);
        }
    }
    return true;
}

/// One node that stays while the frames change, and on top of it such that draw nothing, but are
/// new: where they are, the toolkit draws again.
GskRenderNode* GtkFrameSink::makePictureNode() {
    GtkSnapshot* const snapshot = gtk_snapshot_new();
    const graphene_rect_t all = {{0, 0}, {place_.width, place_.height}};
    if (picture_ == nullptr) {
        GtkSnapshot* const drawing = gtk_snapshot_new();
        appendDrawing(drawing, copy_, all, place_.isOpaque);
        picture_ = gtk_snapshot_free_to_node(drawing);
        changed_ = {};
    }
    gtk_snapshot_append_node(snapshot, picture_);
    const float across = place_.width / static_cast<float>(copy_->size.width);
    const float down = place_.height / static_cast<float>(copy_->size.height);
    for (const PixelBox& box : changed_.boxes()) {
        // Pixels that are scaled show in the points next to theirs.
        const float left = std::floor(static_cast<float>(box.left) * across) - 1;
        const float top = std::floor(static_cast<float>(copy_->size.height - box.top) * down) - 1;
        const float right = std::ceil(static_cast<float>(box.right) * across) + 1;
        const float bottom =
            std::ceil(static_cast<float>(copy_->size.height - box.bottom) * down) + 1;
        const graphene_rect_t place = {{left, top}, {right - left, bottom - top}};
        cairo_destroy(gtk_snapshot_append_cairo(snapshot, &place));
    }
    return gtk_snapshot_free_to_node(snapshot);
}

GskRenderNode* GtkFrameSink::makeNode() const {
    GtkSnapshot* const snapshot = gtk_snapshot_new();
    const graphene_rect_t all = {{0, 0}, {place_.width, place_.height}};
    if (place_.isOpaque) {
        // What the drawing has left transparent shows the colours it has, on black.
        const GdkRGBA black = {0, 0, 0, 1};
        gtk_snapshot_append_color(snapshot, &black, &all);
    }
    if (copy_) {
        g_autoptr(GdkTexture) texture = textureOf(copy_);
        gtk_snapshot_append_texture(snapshot, texture, &all);
    } else if (texture_ != nullptr) {
        // Its bottom row comes first.
        const graphene_point_t bottom = {0, place_.height};
        gtk_snapshot_translate(snapshot, &bottom);
        gtk_snapshot_scale(snapshot, 1, -1);
        gtk_snapshot_append_texture(snapshot, texture_, &all);
    }
    return gtk_snapshot_free_to_node(snapshot);
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
