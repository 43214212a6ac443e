// A program with a window of the library's own, for the scripts beside it: prints what its view is
// told (see QuadrantView) and obeys the lines it reads.
//
//   resize WIDTH HEIGHT   asks for another size of the content
//   main                  prints whether the window is the main one
//   content               prints the size of the content
//   retitle TEXT          changes the title, and prints it
//   link                  runs a display link for a while, and prints its rate: that which it says,
//                         and that which it has on the display of the window
//   close                 closes the window; what then happens is printed
//   quit                  ends the program, as does the end of the input
#include <atomic>
#include <cstdio>
#include <string>

#include "MivoraMac/platform/DisplayLink.h"
#include "MivoraMac/platform/GLContext.h"
#include "MivoraMac/platform/Host.h"
#include "MivoraMac/platform/MVException.h"
#include "MivoraMac/platform/MainThread.h"
#include "MivoraMac/platform/Window.h"
#include "tests/host/CommandLines.h"
#include "tests/host/QuadrantView.h"

using Mivora::platform::Host;
using Mivora::platform::MainThread;
using Mivora::platform::Rect;
using Mivora::platform::Window;
using Mivora::tests::QuadrantView;

namespace {

void runDisplayLink(const QuadrantView& view) {
    std::atomic<int> refreshes{0};
    const auto link = Host::current().createDisplayLink([&] { ++refreshes; });
    link->start();
    MainThread::runUntil([&] { return refreshes >= 5; }, 5);
    std::printf("link of %.0f Hz %s\n", 1 / link->actualOutputVideoRefreshPeriod(),
                refreshes >= 5 ? "runs" : "stands still");
    if (const auto& context = view.openGLContext()) {
        link->setCurrentDisplayFromOpenGLContext(*context, *context->pixelFormat());
        std::printf("tied to %.0f Hz\n", 1 / link->actualOutputVideoRefreshPeriod());
    }
}

}  // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    try {
        std::printf("host %s\n", Host::current().name());
    } catch (const MVException& exception) {
        std::printf("refused: %s\n", exception.reason().c_str());
        return 0;
    }
    auto view = QuadrantView::create();
    auto window = Window::initWithTitle("Quadrants", 400, 300);
    window->setCloseHandler(
        [&] { std::puts(view->window() ? "closed with the view in it" : "closed"); });
    window->setContentView(view);
    window->show();
    std::puts(window->isVisible() ? "shown" : "not shown");

    Mivora::tests::obeyLines([&](const std::string& command, std::istringstream& rest) {
        if (command == "resize") {
            double width = 0;
            double height = 0;
            rest >> width >> height;
            window->setContentSize(width, height);
        } else if (command == "main") {
            std::puts(window->isMainWindow() ? "is main" : "is not main");
        } else if (command == "content") {
            const Rect content = window->contentRect();
            std::printf("content %.0f %.0f\n", content.width, content.height);
        } else if (command == "retitle") {
            std::string title;
            rest >> title;
            window->setTitle(title);
            std::printf("title %s\n", window->title().c_str());
        } else if (command == "link") {
            runDisplayLink(*view);
        } else if (command == "close") {
            window->close();
        } else {
            std::printf("unknown command: %s\n", command.c_str());
        }
    });
    window.reset();
    view.reset();
    Mivora::tests::endProgram();
}
