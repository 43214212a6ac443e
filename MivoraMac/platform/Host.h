#pragma once

#include <functional>
#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/ClickSettings.h"
#include "MivoraMac/platform/base/Rect.h"

/// What the library needs of the system below it: windows and native views, events, GL contexts,
/// threads and queues, timers, files, pictures in memory.
namespace Mivora::platform {

class DisplayLink;
class NativeGLContext;
class Screen;
class Window;

/// What shows the library's windows: a desktop, or nothing at all.
///
/// One host serves the process. It is chosen when first needed: the one that the environment
/// variable `MIVORA_HOST` names; otherwise the desktop host, if the program links one and a
/// display answers; otherwise the headless host, which a line in the debug log says.
class MIVORA_EXPORT Host {
 public:
    /// Makes the desktop host, or yields null when no display answers.
    using Factory = std::unique_ptr<Host> (*)();

    virtual ~Host();

    /// The host of this process.
    /// @throws MVException (invalid argument) when `MIVORA_HOST` names a host that is unknown, not
    ///         linked into the program, or without a display
    static Host& current();

    /// Announces the desktop host of a library that the program links. Before `current` is first
    /// called; a later call has no effect.
    static void registerDesktopHost(const char* name, Factory factory);

    /// The value that selects this host in `MIVORA_HOST`.
    virtual const char* name() const = 0;

    /// See `Screen::mainScreen`; never null.
    virtual std::shared_ptr<Screen> mainScreen() = 0;

    /// A context to draw with, or null, and a line in the log, where there is none. Here: one from
    /// EGL that needs no display. Thread: any.
    virtual std::shared_ptr<NativeGLContext> createNativeGLContext();

    /// A stopped display link that serves all displays until it is tied to one. A host that knows
    /// nothing of refreshes has links at 60 Hz. Thread: any.
    /// @param refreshed  what the link calls at every refresh; an empty function is not called
    virtual std::unique_ptr<DisplayLink> createDisplayLink(std::function<void()> refreshed);

    /// Whether native views that are placed in an `OpenGLView` are seen. True here.
    virtual bool showsNativeViews() const;

    /// What the desktop calls a click. Thread: main.
    virtual ClickSettings clickSettings();

    /// A window that is not on the screen yet; see `Window::initWithTitle`. Thread: main.
    /// @param content  its size is that of the content, 1 at least
    virtual std::shared_ptr<Window> createWindow(const std::string& title, const Rect& content) = 0;
};

}  // namespace Mivora::platform
