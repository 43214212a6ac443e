#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/DisplayLink.h"

namespace Mivora::platform {

class GLContext;
class PixelFormat;
class Screen;

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

    virtual std::shared_ptr<Screen> mainScreen() = 0;

    /// See `GLContext::initWithFormatShareContext`. Thread: any.
    virtual std::shared_ptr<GLContext> createGLContext(const std::shared_ptr<PixelFormat>& format,
                                                       const std::shared_ptr<GLContext>& share) = 0;

    /// A stopped display link that serves all displays until it is tied to one. A host that knows
    /// nothing of refreshes has links at 60 Hz. Thread: any.
    /// @param refreshed  what the link calls at every refresh; an empty function is not called
    virtual std::unique_ptr<DisplayLink> createDisplayLink(DisplayLink::Handler refreshed);
};

}  // namespace Mivora::platform
