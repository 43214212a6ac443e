#include "MivoraMac/platform/Host.h"

#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/headless/HeadlessDisplayLink.h"
#include "MivoraMac/platform/headless/HeadlessGLContextPrivate.h"
#include "MivoraMac/platform/headless/HeadlessHost.h"
#include "MivoraMac/platform/windows/DisplayLink.h"
#include "MivoraMac/platform/windows/Screen.h"

namespace Mivora::platform {

namespace {

struct DesktopHost {
    const char* name = nullptr;
    Host::Factory factory = nullptr;
};

DesktopHost& desktopHost() {
    static DesktopHost host;
    return host;
}

[[noreturn]] void refuse(std::string_view wanted, const char* reason) {
    throw MVException(MVException::kInvalidArgument,
                      "MIVORA_HOST=" + std::string(wanted) + ": " + reason);
}

std::unique_ptr<Host> chooseHost() {
    const char* value = std::getenv("MIVORA_HOST");
    const std::string_view wanted = value != nullptr ? value : "";
    const DesktopHost& desktop = desktopHost();
    if (wanted == HeadlessHost::kName) {
        return std::make_unique<HeadlessHost>();
    }
    if (desktop.factory != nullptr && (wanted.empty() || wanted == desktop.name)) {
        if (auto host = desktop.factory()) {
            return host;
        }
        if (!wanted.empty()) {
            refuse(wanted, "no display answers");
        }
        // A program that waits for its window to be closed would else seem to hang.
        DebugLog::warn(DebugLog::Category::Events, "no display answers: running headless");
        return std::make_unique<HeadlessHost>();
    }
    if (!wanted.empty()) {
        refuse(wanted, wanted == "gtk" ? "the program does not link MivoraMac::Gtk"
                                       : "no such host; there are gtk and headless");
    }
    DebugLog::log(DebugLog::Category::Events, "no desktop host is linked: running headless");
    return std::make_unique<HeadlessHost>();
}

}  // namespace

Host::~Host() = default;

Host& Host::current() {
    // Never destroyed: contexts and screens may outlive static destruction.
    static Host* host = chooseHost().release();
    return *host;
}

void Host::registerDesktopHost(const char* name, Factory factory) {
    desktopHost() = {name, factory};
}

bool Host::showsNativeViews() const {
    return true;
}

std::shared_ptr<NativeGLContext> Host::createNativeGLContext() {
    return HeadlessGLContext::create();
}

std::unique_ptr<DisplayLink> Host::createDisplayLink(std::function<void()> refreshed) {
    return std::make_unique<HeadlessDisplayLink>(std::move(refreshed));
}

ClickSettings Host::clickSettings() {
    return {};
}

Screen::~Screen() = default;

std::shared_ptr<Screen> Screen::mainScreen() {
    return Host::current().mainScreen();
}

}  // namespace Mivora::platform
