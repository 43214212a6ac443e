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
//   open [WHAT ACTION]    another window with another view, in the place of what there is; as with
//                         "on" from the beginning
//   on WHAT ACTION        what to do when the view is told of WHAT (see QuadrantView::doOnce):
//                         close          closes the window
//                         close-drop     closes the window, and lets go of both
//                         drop           lets go of both
//                         swap           another view is the content
//                         again          the content is taken out, and put back
//                         throw          throws
//   quit                  ends the program, as does the end of the input
#include <atomic>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "MivoraMac/platform/Host.h"
#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/windows/DisplayLink.h"
#include "MivoraMac/platform/windows/Window.h"
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

struct Program {
    std::shared_ptr<QuadrantView> view;
    std::shared_ptr<Window> window;

    void open(std::istringstream& onWhat);
    /// Reads what to do when.
    void await(std::istringstream& onWhat);
    void act(const std::string& action);
    void drop();
};

void Program::open(std::istringstream& onWhat) {
    view = QuadrantView::create();
    await(onWhat);
    window = Window::initWithTitle("Quadrants", 400, 300);
    window->setCloseHandler(
        [this] { std::puts(view && view->window() ? "closed with the view in it" : "closed"); });
    const std::shared_ptr<Window> made = window;
    made->setContentView(view);
    made->show();
    std::puts(window && window->isVisible() ? "shown" : "not shown");
}

void Program::await(std::istringstream& onWhat) {
    std::string what;
    std::string action;
    if (onWhat >> what >> action) {
        view->doOnce(what, [this, action] { act(action); });
    }
}

void Program::drop() {
    window.reset();
    view.reset();
}

void Program::act(const std::string& action) {
    std::printf("does %s\n", action.c_str());
    if (action == "close") {
        window->close();
    } else if (action == "close-drop") {
        window->close();
        drop();
    } else if (action == "drop") {
        drop();
    } else if (action == "swap") {
        view = QuadrantView::create();
        window->setContentView(view);
    } else if (action == "again") {
        window->setContentView(nullptr);
        window->setContentView(view);
    } else {
        throw std::runtime_error("thrown by the view");
    }
    std::printf("did %s\n", action.c_str());
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
    Program program;
    std::istringstream nothing;
    program.open(nothing);

    Mivora::tests::obeyLines([&](const std::string& command, std::istringstream& rest) {
        if (command == "resize") {
            double width = 0;
            double height = 0;
            rest >> width >> height;
            program.window->setContentSize(width, height);
        } else if (command == "main") {
            std::puts(program.window->isMainWindow() ? "is main" : "is not main");
        } else if (command == "content") {
            const Rect content = program.window->contentRect();
            std::printf("content %.0f %.0f\n", content.width, content.height);
        } else if (command == "retitle") {
            std::string title;
            rest >> title;
            program.window->setTitle(title);
            std::printf("title %s\n", program.window->title().c_str());
        } else if (command == "link") {
            runDisplayLink(*program.view);
        } else if (command == "close") {
            program.window->close();
        } else if (command == "open") {
            program.open(rest);
        } else if (command == "on") {
            program.await(rest);
        } else {
            std::printf("unknown command: %s\n", command.c_str());
        }
    });
    program.drop();
    Mivora::tests::endProgram();
}
