#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "MivoraMac/platform/Host.h"

namespace Mivora::platform {

class GtkScreen;

/// The host on a desktop, by the toolkit GTK 4.
class GtkHost : public Host {
 public:
    static constexpr const char* kName = "gtk";

    /// Thread: main.
    /// @return null when no display answers
    static std::unique_ptr<Host> create();

    /// The toolkit has been initialised.
    GtkHost();
    ~GtkHost() override;

    const char* name() const override { return kName; }
    std::shared_ptr<Screen> mainScreen() override;

    /// A context that shares objects with the toolkit's renderer; where the display has none, that
    /// of the headless host, whose frames are copied to the screen. Off the main thread, waits for
    /// it.
    std::shared_ptr<NativeGLContext> createNativeGLContext() override;

    ClickSettings clickSettings() override;
    std::unique_ptr<DisplayLink> createDisplayLink(std::function<void()> refreshed) override;
    std::shared_ptr<Window> createWindow(const std::string& title, const Rect& content) override;

 private:
    std::shared_ptr<GtkScreen> screen_;
    std::atomic<double> refreshPeriod_;  // of the main screen, in seconds
};

}  // namespace Mivora::platform
