// A program as users of the library write it, for the scripts beside it: an application with a few
// views in a window of the desktop. It prints what the views are told.
//
//   ApplicationProgram                  runs until the end of its input
//   ApplicationProgram --two            likewise, with two applications, each in a window of its
//                                       own; the command "drop-first" ends the first
//   ApplicationProgram --eight          eight applications with equal views, each in a window of
//                                       its own; the command "step N" turns the views of all on,
//                                       and a click has the view under it add another one
//   ApplicationProgram --picture FILE   draws its first frame into a file, without a display
//   ApplicationProgram --step N PRESSED FILE
//                                       likewise what one of the eight shows at step N, before
//                                       (0) or after (1) the click
//   ApplicationProgram --close COUNT    opens and closes so many windows while frames run
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/MivoraMac.h"
#include "tests/host/CommandLines.h"

using Mivora::platform::Host;
using Mivora::platform::MainThread;
using Mivora::platform::Window;

namespace {

constexpr float kWidth = 400;
constexpr float kHeight = 300;

/// A card that prints what it is told and, if asked to, wants another frame with each one.
class Card : public MVColorView {
 public:
    static std::shared_ptr<Card> create(const char* name, Mivora::ColorRGBA color) {
        auto card = MVMake<Card>(name);
        card->setColor(color);
        return card;
    }

    void touchesBegan(const MVTouchSet&) override { print("touch began"); }
    void touchesMoved(const MVTouchSet&) override { print("touch moved"); }
    void touchesEnded(const MVTouchSet&) override { print("touch ended"); }
    void touchesCancelled(const MVTouchSet&) override { print("touch cancelled"); }
    void mouseBegan(const std::shared_ptr<MVMouse>& mouse) override {
        print("mouse began", *mouse);
    }
    void mouseMoved(const std::shared_ptr<MVMouse>& mouse) override {
        print("mouse moved", *mouse);
    }
    void mouseEnded(const std::shared_ptr<MVMouse>& mouse) override {
        print("mouse ended", *mouse);
    }
    void mouseHoverBegan(const std::shared_ptr<MVMouse>&) override { print("hover began"); }
    void mouseHoverEnded(const std::shared_ptr<MVMouse>&) override { print("hover ended"); }
    void scrollBegan(const std::shared_ptr<MVScroll>& scroll) override {
        std::printf("%s: scroll began by %.0f %.0f\n", name_,
                    static_cast<double>(scroll->translation().x),
                    static_cast<double>(scroll->translation().y));
    }
    void scrollEnded(const std::shared_ptr<MVScroll>&) override { print("scroll ended"); }

 protected:
    explicit Card(const char* name) : name_(name) { setMouseHoverEnabled(true); }

 private:
    friend struct ::MVMaker;

    void print(const char* what) const { std::printf("%s: %s\n", name_, what); }
    void print(const char* what, const MVMouse& mouse) const {
        std::printf("%s: %s, button %d\n", name_, what, mouse.button());
    }

    const char* name_;
};

std::shared_ptr<Card> addCard(MVView& to, const char* name, Mivora::ColorRGBA color,
                              Mivora::Point2 position, Mivora::Size2 size) {
    auto card = Card::create(name, color);
    card->setPosition(position);
    card->setSize(size);
    to.addSubview(card);
    return card;
}

/// Cards at the edges, one turned and one that lets the others be seen through it.
/// @param red  what the first of them prints as its name
void addScene(MVView& window, const char* red = "red") {
    addCard(window, red, {0.8F, 0.1F, 0.1F, 1.0F}, {0, 0}, {100, 80});
    addCard(window, "green", {0.1F, 0.7F, 0.2F, 1.0F}, {300, 220}, {100, 80});
    const auto turned = addCard(window, "blue", {0.2F, 0.3F, 0.9F, 1.0F}, {150, 100}, {100, 100});
    turned->setAnchorPoint({0.5F, 0.5F});
    turned->setRotation(0.5F);
    addCard(window, "glass", {1.0F, 1.0F, 1.0F, 0.5F}, {60, 40}, {120, 100});
}

int drawPicture(const char* path) {
    const auto application = MVApplication::init();
    application->mv_renderView()->setFrame({0, 0, kWidth, kHeight});
    application->mv_renderView()->moveToWindow(nullptr);
    addScene(*application->window());
    const auto picture = MVCaptureWindow(application->window(), {.alpha = MVCaptureAlpha::Opaque});
    return picture.writePNG(path) ? 0 : 1;
}

/// What ends first is different each time.
void closeInTurn(int round, std::shared_ptr<MVApplication>& application,
                 std::shared_ptr<Window>& window) {
    switch (round % 4) {
        case 0:
            window->close();
            break;
        case 1:
            application.reset();
            window->close();
            break;
        case 2:
            window.reset();
            break;
        default:
            application->setActive(false);
            window->close();
            break;
    }
}

std::uint64_t framesOf(const MVApplication& application) {
    return application.mv_renderView()->openGLContext()->drawable().latestFrame().serial;
}

int closeWindows(int count) {
    // Keeps the shaders for the others.
    const auto keeper = MVApplication::init();
    for (int round = 0; round < count; ++round) {
        auto application = MVApplication::init();
        addScene(*application->window());
        auto window = Window::initWithTitle("Closing", 200, 150);
        window->setContentView(application->mv_renderView());
        window->show();
        application->setActive(true);
        const std::uint64_t wanted =
            framesOf(*application) + static_cast<std::uint64_t>(round) / 4 % 4;
        const auto isDrawn = [&] {
            application->window()->setNeedsDraw();
            return framesOf(*application) >= wanted;
        };
        if (!MainThread::runUntil(isDrawn, 10)) {
            std::puts("no frames come");
            return 1;
        }
        closeInTurn(round, application, window);
        MainThread::runUntil([] { return false; }, 0);
    }
    MainThread::runUntil([] { return false; }, 0.2);
    std::printf("%d windows closed\n", count);
    return 0;
}

constexpr Mivora::Size2 kPartSize = {240, 180};

/// What each of the eight windows shows: a few cards that turn and fade with every step, and adds
/// a view when one of them is pressed.
class Fan : public MVView {
 public:
    static std::shared_ptr<Fan> create(const std::shared_ptr<MVWindow>& window) {
        auto fan = MVMake<Fan>();
        fan->setSize(kPartSize);
        for (int i = 0; i < 6; ++i) {
            auto blade = MVColorView::init();
            blade->setSize({90, 50});
            blade->setAnchorPoint({0.5F, 0.5F});
            blade->setPosition({40.0F + 32.0F * static_cast<float>(i), 90});
            fan->addSubview(blade);
            fan->blades_.push_back(std::move(blade));
        }
        fan->showStep(0);
        window->addSubview(fan);
        return fan;
    }

    void showStep(int step) {
        const auto time = static_cast<float>(step);
        for (std::size_t i = 0; i < blades_.size(); ++i) {
            const auto place = static_cast<float>(i);
            blades_[i]->setRotation3({0.2F * time, 0.1F * place, 0.3F * time + place});
            blades_[i]->setColor(
                {0.15F * place, 0.9F - 0.1F * time, 0.4F + 0.1F * time, i % 2 == 0 ? 1.0F : 0.6F});
        }
    }

    /// What a click adds, in the handler of its event.
    void addMark() {
        auto mark = MVColorView::initWithColor({0.9F, 0.1F, 0.6F, 1.0F});
        mark->setSize({60, 30});
        mark->setPosition({10, 140});
        addSubview(mark);
    }

    void mouseBegan(const std::shared_ptr<MVMouse>&) override {
        addMark();
        std::puts("pressed");
    }

 private:
    std::vector<std::shared_ptr<MVColorView>> blades_;
};

int drawStep(int step, bool isPressed, const char* path) {
    const auto application = MVApplication::init();
    application->mv_renderView()->setFrame({0, 0, kPartSize.width, kPartSize.height});
    application->mv_renderView()->moveToWindow(nullptr);
    const auto fan = Fan::create(application->window());
    fan->showStep(step);
    if (isPressed) {
        fan->addMark();
    }
    const auto picture = MVCaptureWindow(application->window(), {.alpha = MVCaptureAlpha::Opaque});
    return picture.writePNG(path) ? 0 : 1;
}

void runEight() {
    std::vector<std::shared_ptr<MVApplication>> applications;
    std::vector<std::shared_ptr<Window>> windows;
    std::vector<std::shared_ptr<Fan>> fans;
    for (int i = 1; i <= 8; ++i) {
        applications.push_back(MVApplication::init());
        fans.push_back(Fan::create(applications.back()->window()));
        windows.push_back(
            Window::initWithTitle("Part " + std::to_string(i), kPartSize.width, kPartSize.height));
        windows.back()->setContentView(applications.back()->mv_renderView());
        windows.back()->show();
        applications.back()->setActive(true);
    }
    std::puts("shown");
    Mivora::tests::obeyLines([&](const std::string& command, std::istringstream& values) {
        int step = 0;
        if (command != "step" || !(values >> step)) {
            std::printf("unknown command: %s\n", command.c_str());
            return;
        }
        for (const auto& fan : fans) {
            fan->showStep(step);
        }
    });
    Mivora::tests::endProgram();
}

/// An application in a window.
struct Shown {
    std::shared_ptr<MVApplication> application = MVApplication::init();
    std::shared_ptr<Window> window;

    Shown(const char* title, const char* red) {
        addScene(*application->window(), red);
        window = Window::initWithTitle(title, kWidth, kHeight);
        window->setContentView(application->mv_renderView());
        window->show();
        application->setActive(true);
    }
};

void runTwo() {
    auto first = std::make_unique<Shown>("First", "first red");
    const Shown second("Second", "second red");
    std::puts("shown");
    Mivora::tests::obeyLines([&](const std::string& command, std::istringstream&) {
        if (command == "drop-first") {
            first.reset();
        } else {
            std::printf("unknown command: %s\n", command.c_str());
        }
    });
    Mivora::tests::endProgram();
}

void run() {
    auto application = MVApplication::init();
    addScene(*application->window());
    auto window = Window::initWithTitle("Application", kWidth, kHeight);
    window->setContentView(application->mv_renderView());
    window->show();
    application->setActive(true);
    std::puts("shown");
    Mivora::tests::obeyLines([](const std::string& command, std::istringstream&) {
        std::printf("unknown command: %s\n", command.c_str());
    });
    application->setActive(false);
    window->close();
    application.reset();
    Mivora::tests::endProgram();
}

}  // namespace

int main(int count, char** arguments) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (count == 3 && std::strcmp(arguments[1], "--picture") == 0) {
        return drawPicture(arguments[2]);
    }
    if (count == 3 && std::strcmp(arguments[1], "--close") == 0) {
        return closeWindows(std::atoi(arguments[2]));
    }
    if (count == 5 && std::strcmp(arguments[1], "--step") == 0) {
        return drawStep(std::atoi(arguments[2]), std::atoi(arguments[3]) != 0, arguments[4]);
    }
    if (count == 2 && std::strcmp(arguments[1], "--two") == 0) {
        runTwo();
    }
    if (count == 2 && std::strcmp(arguments[1], "--eight") == 0) {
        runEight();
    }
    run();
}
