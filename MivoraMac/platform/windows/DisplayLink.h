#pragma once

#include <functional>
#include <memory>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

class GLContext;
class PixelFormat;

/// A source of callbacks at a display's refresh rate, as the running host provides it: a thread of
/// the link's own that calls a handler at every refresh while the link runs.
///
/// Refreshes lie on an absolute schedule from the start on, so the rate does not drift. While the
/// handler works, the thread is held: refreshes that pass meanwhile are left out, not made up for.
///
/// A link of `Host::createDisplayLink` is stopped at first. Thread: any.
class MIVORA_EXPORT DisplayLink {
 public:
    /// What a link calls at a refresh, on the link's thread. It may stop and start the link and may
    /// destroy it. What it throws is logged.
    using Handler = std::function<void()>;

    /// Stops the link. When the destructor returns, the handler has ended and is not called again;
    /// therefore whoever destroys the link must not be what the handler waits for. Only when the
    /// handler itself destroys the link, the rest of that call is still to come.
    virtual ~DisplayLink();
    DisplayLink(const DisplayLink&) = delete;
    DisplayLink& operator=(const DisplayLink&) = delete;

    /// Calls the handler at every refresh from now on, first after one period. No effect while the
    /// link runs.
    /// @throws std::system_error when the system has no thread to give
    void start();

    /// Calls the handler no more, without waiting for a call under way. No effect while stopped.
    void stop();

    /// Whether the link runs: between `start` and `stop`.
    bool isRunning() const;

    /// The time between two refreshes, in seconds; above zero.
    double actualOutputVideoRefreshPeriod() const;

    /// Ties the link to the display on which the context shows its drawing.
    virtual void setCurrentDisplayFromOpenGLContext(GLContext& context,
                                                    const PixelFormat& format) = 0;

 protected:
    /// A link at 60 Hz.
    /// @param handler  what to call; an empty one is not
    explicit DisplayLink(Handler handler = {});

    /// Changes the time between two refreshes; the next one is a period from now.
    /// @param seconds  ignored unless between 0.0001 and 10
    void setActualOutputVideoRefreshPeriod(double seconds);

 private:
    struct State;

    static void threadMain(const std::shared_ptr<State>& state);

    std::shared_ptr<State> state_;  // shared with the thread
};

}  // namespace Mivora::platform
