#include <dlfcn.h>
#include <epoxy/egl.h>

#include <array>
#include <initializer_list>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/headless/HeadlessGLContextPrivate.h"

namespace Mivora::platform {

namespace {

constexpr auto kLog = DebugLog::Category::GL;

/// Whether one of the libraries can be loaded, which then stays loaded. epoxy opens them when a
/// function is first called and ends the process where they are missing.
bool loads(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (::dlopen(name, RTLD_LAZY | RTLD_LOCAL) != nullptr) {
            return true;
        }
    }
    DebugLog::warn(kLog, "%s cannot be loaded: is it installed?", *names.begin());
    return false;
}

EGLDisplay initialized(EGLDisplay display) {
    return display != EGL_NO_DISPLAY && eglInitialize(display, nullptr, nullptr) == EGL_TRUE
               ? display
               : EGL_NO_DISPLAY;
}

/// A display that needs neither a window system nor a device node; where the driver has none, one
/// on the first device, as proprietary drivers offer; else whatever the default is.
EGLDisplay openDisplay() {
    if (epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_EXT_platform_base")) {
        if (epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_MESA_platform_surfaceless")) {
            const EGLDisplay display = initialized(eglGetPlatformDisplayEXT(
                EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr));
            if (display != EGL_NO_DISPLAY) {
                return display;
            }
        }
        if (epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_EXT_platform_device") &&
            epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_EXT_device_enumeration")) {
            EGLDeviceEXT device = nullptr;
            EGLint count = 0;
            if (eglQueryDevicesEXT(1, &device, &count) == EGL_TRUE && count > 0) {
                const EGLDisplay display =
                    initialized(eglGetPlatformDisplayEXT(EGL_PLATFORM_DEVICE_EXT, device, nullptr));
                if (display != EGL_NO_DISPLAY) {
                    return display;
                }
            }
        }
    }
    return initialized(eglGetDisplay(EGL_DEFAULT_DISPLAY));
}

/// The process's EGL display, opened once and never closed: drivers keep state behind it.
EGLDisplay sharedDisplay() {
    static const EGLDisplay display = [] {
        if (!loads({"libEGL.so.1"}) || !loads({"libOpenGL.so.0", "libGL.so.1"})) {
            return EGL_NO_DISPLAY;
        }
        const EGLDisplay opened = openDisplay();
        if (opened == EGL_NO_DISPLAY) {
            DebugLog::warn(kLog, "EGL offers no display (error 0x%x)", eglGetError());
        } else if (!epoxy_has_egl_extension(opened, "EGL_KHR_surfaceless_context")) {
            DebugLog::warn(kLog, "EGL cannot draw without a surface here");
        }
        return opened;
    }();
    return display;
}

EGLConfig chooseConfig(EGLDisplay display) {
    constexpr std::array<EGLint, 5> wanted = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_SURFACE_TYPE,
                                              0, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (eglChooseConfig(display, wanted.data(), &config, 1, &count) == EGL_TRUE && count > 0) {
        return config;
    }
    return nullptr;
}

}  // namespace

std::shared_ptr<HeadlessGLContext> HeadlessGLContext::create() {
    const EGLDisplay display = sharedDisplay();
    if (display == EGL_NO_DISPLAY) {
        return nullptr;
    }
    eglBindAPI(EGL_OPENGL_API);
    constexpr std::array<EGLint, 7> attributes = {EGL_CONTEXT_MAJOR_VERSION,
                                                  3,
                                                  EGL_CONTEXT_MINOR_VERSION,
                                                  2,
                                                  EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                                  EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                                  EGL_NONE};
    const EGLContext context =
        eglCreateContext(display, chooseConfig(display), EGL_NO_CONTEXT, attributes.data());
    if (context == EGL_NO_CONTEXT) {
        DebugLog::warn(kLog, "EGL offers no OpenGL 3.2 core context (error 0x%x)", eglGetError());
        return nullptr;
    }
    return MVMake<HeadlessGLContext>(context);
}

HeadlessGLContext::HeadlessGLContext(void* context) : context_(context) {}

HeadlessGLContext::~HeadlessGLContext() {
    eglDestroyContext(sharedDisplay(), context_);
}

bool HeadlessGLContext::makeCurrent() {
    eglBindAPI(EGL_OPENGL_API);
    return eglMakeCurrent(sharedDisplay(), EGL_NO_SURFACE, EGL_NO_SURFACE, context_) == EGL_TRUE;
}

void HeadlessGLContext::clearCurrent() {
    eglMakeCurrent(sharedDisplay(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

}  // namespace Mivora::platform
