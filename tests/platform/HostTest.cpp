// The choice of the host. It is made once in a process, so every test has a process of its own.

#include "MivoraMac/platform/Host.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/headless/HeadlessHost.h"
#include "MivoraMac/platform/windows/Screen.h"
#include "MivoraMac/platform/windows/Window.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/base/ThreadsafeDeathTest.h"

using Mivora::platform::DebugLog;
using Mivora::platform::HeadlessHost;
using Mivora::platform::HeadlessScreen;
using Mivora::platform::Host;
using Mivora::platform::NativeGLContext;
using Mivora::platform::Rect;
using Mivora::platform::Screen;
using Mivora::platform::Window;
using Mivora::tests::ScopedEnvironment;
using Mivora::tests::ThreadsafeDeathTest;

namespace {

/// A desktop as far as the choice of a host goes.
class FakeDesktop : public Host {
 public:
    const char* name() const override { return "gtk"; }
    std::shared_ptr<Screen> mainScreen() override { return screen_; }
    std::shared_ptr<NativeGLContext> createNativeGLContext() override { return nullptr; }
    std::shared_ptr<Window> createWindow(const std::string&, const Rect&) override {
        return nullptr;
    }

 private:
    std::shared_ptr<Screen> screen_ = std::make_shared<HeadlessScreen>();
};

std::unique_ptr<Host> makeDesktop() {
    return std::make_unique<FakeDesktop>();
}

std::unique_ptr<Host> findNoDisplay() {
    return nullptr;
}

class HostDeathTest : public ThreadsafeDeathTest {
 protected:
    /// Chooses the host with the given `MIVORA_HOST`, prints its name or the exception, with what
    /// the log says before, and ends the process.
    [[noreturn]] static void chooseAndExit(const char* wanted) {
        const ScopedEnvironment environment("MIVORA_HOST", wanted);
        DebugLog::enable("events");
        std::exit(printHost() ? 0 : 3);
    }

    /// @return whether there is a host
    static bool printHost() {
        try {
            std::fprintf(stderr, "host: %s\n", Host::current().name());
            return true;
        } catch (const MVException& exception) {
            std::fprintf(stderr, "%s\n", exception.what());
            return false;
        }
    }
};

}  // namespace

TEST_F(HostDeathTest, theHeadlessHostCanBeAskedFor) {
    EXPECT_EXIT(chooseAndExit("headless"), testing::ExitedWithCode(0), "^host: headless\n$");
}

TEST_F(HostDeathTest, theHeadlessHostCanBeAskedForInTheFaceOfADesktop) {
    EXPECT_EXIT(
        {
            Host::registerDesktopHost("gtk", makeDesktop);
            chooseAndExit("headless");
        },
        testing::ExitedWithCode(0), "^host: headless\n$");
}

TEST_F(HostDeathTest, withoutADesktopLibraryTheProgramRunsHeadlessAndSaysSo) {
    EXPECT_EXIT(chooseAndExit(nullptr), testing::ExitedWithCode(0),
                "MivoraMac\\[events\\]: .*headless\nhost: headless");
}

TEST_F(HostDeathTest, anEmptyVariableAsksForNothing) {
    EXPECT_EXIT(chooseAndExit(""), testing::ExitedWithCode(0), "host: headless");
}

TEST_F(HostDeathTest, anUnknownHostIsRefused) {
    EXPECT_EXIT(chooseAndExit("win32"), testing::ExitedWithCode(3),
                "MVInvalidArgumentException: MIVORA_HOST=win32: ");
}

TEST_F(HostDeathTest, hostsGoByTheirExactNames) {
    EXPECT_EXIT(chooseAndExit("Headless"), testing::ExitedWithCode(3),
                "MVInvalidArgumentException: MIVORA_HOST=Headless: ");
}

TEST_F(HostDeathTest, anUnknownHostIsRefusedInTheFaceOfADesktop) {
    EXPECT_EXIT(
        {
            Host::registerDesktopHost("gtk", makeDesktop);
            chooseAndExit("win32");
        },
        testing::ExitedWithCode(3), "MVInvalidArgumentException: MIVORA_HOST=win32: ");
}

TEST_F(HostDeathTest, theDesktopIsRefusedToAProgramThatDoesNotLinkIt) {
    EXPECT_EXIT(chooseAndExit("gtk"), testing::ExitedWithCode(3),
                "MVInvalidArgumentException: MIVORA_HOST=gtk: .*MivoraMac::Gtk");
}

TEST_F(HostDeathTest, theDesktopIsChosenWhereADisplayAnswers) {
    EXPECT_EXIT(
        {
            Host::registerDesktopHost("gtk", makeDesktop);
            chooseAndExit(nullptr);
        },
        testing::ExitedWithCode(0), "^host: gtk\n$");
}

TEST_F(HostDeathTest, theDesktopCanBeAskedFor) {
    EXPECT_EXIT(
        {
            Host::registerDesktopHost("gtk", makeDesktop);
            chooseAndExit("gtk");
        },
        testing::ExitedWithCode(0), "^host: gtk\n$");
}

TEST_F(HostDeathTest, withoutADisplayTheProgramRunsHeadlessAndSaysSo) {
    EXPECT_EXIT(
        {
            Host::registerDesktopHost("gtk", findNoDisplay);
            chooseAndExit(nullptr);
        },
        testing::ExitedWithCode(0), "MivoraMac\\[events\\]: .*headless\nhost: headless");
}

TEST_F(HostDeathTest, theDesktopIsRefusedWithoutADisplay) {
    EXPECT_EXIT(
        {
            Host::registerDesktopHost("gtk", findNoDisplay);
            chooseAndExit("gtk");
        },
        testing::ExitedWithCode(3), "MVInvalidArgumentException: MIVORA_HOST=gtk: .*display");
}

TEST_F(HostDeathTest, aDesktopAnnouncedAfterTheChoiceHasNoEffect) {
    EXPECT_EXIT(
        {
            const ScopedEnvironment environment("MIVORA_HOST", nullptr);
            const Host* before = &Host::current();
            Host::registerDesktopHost("gtk", makeDesktop);
            std::exit(&Host::current() == before && printHost() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "host: headless");
}

TEST_F(HostDeathTest, aRefusedChoiceCanBeMadeAgain) {
    EXPECT_EXIT(
        {
            const ScopedEnvironment environment("MIVORA_HOST", "win32");
            const bool refused = !printHost();
            environment.set("headless");
            std::exit(refused && printHost() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "host: headless");
}

TEST_F(HostDeathTest, theMainScreenIsThatOfTheHost) {
    EXPECT_EXIT(
        {
            const ScopedEnvironment environment("MIVORA_HOST", "headless");
            const ScopedEnvironment scale("MIVORA_SCALE", "1.5");
            auto* host = dynamic_cast<HeadlessHost*>(&Host::current());
            const bool same = host != nullptr && Screen::mainScreen() == host->screen() &&
                              Screen::mainScreen() == host->mainScreen();
            std::exit(same && Screen::mainScreen()->backingScaleFactor() == 1.5 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}
