#include "MivoraMac/platform/gtk/GtkGLContextPrivate.h"

#include <epoxy/gl.h>

#include <cstdlib>
#include <string_view>
#include <utility>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/MainThread.h"

namespace Mivora::platform {

namespace {

/// @return null, and a line in the log, where the display has no such context; a new reference
GdkGLContext* createContext() {
    g_autoptr(GError) error = nullptr;
    g_autoptr(GdkGLContext) context =
        gdk_display_create_gl_context(gdk_display_get_default(), &error);
    if (context != nullptr) {
        gdk_gl_context_set_allowed_apis(context, GDK_GL_API_GL);
        gdk_gl_context_set_required_version(context, 3, 2);
        if (gdk_gl_context_realize(context, &error) != FALSE) {
            return g_steal_pointer(&context);
        }
    }
    DebugLog::warn(DebugLog::Category::GL, "the display has no OpenGL 3.2 core context: %s",
                   error != nullptr ? error->message : "no reason given");
    return nullptr;
}

/// Whether a thread may draw while the toolkit draws on the main thread.
///
/// Not with Mesa's software rasteriser (22.3): whenever a context of a display uploads something,
/// it walks through what all others are drawing, without keeping them from freeing that meanwhile.
/// Contexts that are not of the display, and frames that are copied, keep out of its way. Nor with
/// a context that does not say what draws.
///
/// The environment variable `MIVORA_SHARE_TEXTURES` says otherwise: 1 for yes, 0 for no.
bool mayDrawBesideToolkit(GdkGLContext* context) {
    if (const char* wanted = std::getenv("MIVORA_SHARE_TEXTURES")) {
        return std::string_view(wanted) == "1";
    }
    gdk_gl_context_make_current(context);
    const bool isCurrent = gdk_gl_context_get_current() == context;
    const auto* const name =
        isCurrent ? reinterpret_cast<const char*>(glGetString(GL_RENDERER)) : nullptr;
    const std::string_view renderer = name != nullptr ? name : "";
    gdk_gl_context_clear_current();
    return !renderer.empty() && renderer.find("llvmpipe") == std::string_view::npos &&
           renderer.find("softpipe") == std::string_view::npos;
}

}  // namespace

bool GtkGLContext::isShared() {
    static const bool isShared =
        forMainThread() != nullptr && mayDrawBesideToolkit(forMainThread());
    return isShared;
}

std::shared_ptr<GtkGLContext> GtkGLContext::create() {
    GdkGLContext* const context = isShared() ? createContext() : nullptr;
    return context != nullptr ? MVMake<GtkGLContext>(context) : nullptr;
}

GtkGLContext::GtkGLContext(GdkGLContext* context) : context_(context) {}

GtkGLContext::~GtkGLContext() {
    auto end = [context = context_, work = takeWaitingWork()] {
        if (!work.empty()) {
            gdk_gl_context_make_current(context);
            for (const auto& each : work) {
                each();
            }
            gdk_gl_context_clear_current();
        }
        g_object_unref(context);
    };
    MainThread::isMainThread() ? end() : MainThread::perform(std::move(end));
}

GdkGLContext* GtkGLContext::forMainThread() {
    static GdkGLContext* const context = createContext();
    return context;
}

bool GtkGLContext::makeCurrent() {
    gdk_gl_context_make_current(context_);
    return gdk_gl_context_get_current() == context_;
}

void GtkGLContext::clearCurrent() {
    gdk_gl_context_clear_current();
}

}  // namespace Mivora::platform
