// Scroll views in a window, for the scripts beside it: a list of 500 rows with a scroll view and a
// button in it, and beside it a scroll view that is turned in space. Prints "button pressed", and
// "not on pixels: X Y" whenever content is where it should not be.
//
//   where    prints how far down the three are scrolled: "list Y inner Y turned Y"
//   scale    prints the pixels for each point of the list's content
//   quit     ends the program, as does the end of the input
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

#include "MivoraMac/MivoraMac.h"
#include "tests/host/CommandLines.h"

using Mivora::platform::Window;

namespace {

constexpr int kRows = 500;
constexpr float kRowHeight = 24;

/// Complains about places between pixels.
class PixelCheck : public MVScrollViewDelegate {
 public:
    void scrollViewDidScroll(const std::shared_ptr<MVScrollView>& view) override {
        const float scale = view->contentScaleFactor();
        const Mivora::Point2 place = view->contentOffset();
        const auto distance = [scale](float at) {
            return std::abs(at * scale - std::round(at * scale));
        };
        // Rounding of places of some thousand points to 24 bits.
        if (distance(place.x) > 0.01F || distance(place.y) > 0.01F) {
            std::printf("not on pixels: %f %f\n", static_cast<double>(place.x),
                        static_cast<double>(place.y));
        }
    }
};

class Button : public MVColorView {
 public:
    Button() : MVColorView(Mivora::ColorRGBA::kOrange) {}
    void mouseBegan(const std::shared_ptr<MVMouse>&) override { std::puts("button pressed"); }
};

std::shared_ptr<MVScrollView> makeScrollView(Mivora::Size2 size, Mivora::Size2 content) {
    auto view = MVScrollView::init();
    view->setSize(size);
    view->contentView()->setSize(content);
    auto clip = MVColorView::init();
    clip->setSize(size);
    view->setStencilView(clip);
    for (int row = 0; static_cast<float>(row) * kRowHeight < content.height; ++row) {
        const float shade = 0.4F + 0.4F * static_cast<float>(row % 2);
        auto rowView = MVColorView::initWithColor({shade, shade, 0.9F, 1.0F});
        rowView->setPosition({0, kRowHeight * static_cast<float>(row)});
        rowView->setSize({content.width, kRowHeight});
        view->contentView()->addSubview(rowView);
    }
    return view;
}

double scrolledBy(const MVScrollView& view) {
    return static_cast<double>(view.contentOffset().y);
}

}  // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const auto application = MVApplication::init();
    const auto check = std::make_shared<PixelCheck>();

    const auto list = makeScrollView({200, 300}, {200, kRows * kRowHeight});
    const auto button = MVMake<Button>();
    button->setPosition({20, 4 * kRowHeight});
    button->setSize({100, kRowHeight});
    list->contentView()->addSubview(button);
    const auto inner = makeScrollView({100, 100}, {100, 240});
    inner->setPosition({20, 150});
    list->contentView()->addSubview(inner);
    const auto turned = makeScrollView({120, 120}, {120, 960});
    turned->setAnchorPoint({0.5F, 0.5F});
    turned->setPosition({300, 150});
    turned->setRotation3({0.3F, 0.7F, 0.4F});
    for (const auto& view : {list, turned}) {
        application->window()->addSubview(view);
    }
    for (const auto& view : {list, inner, turned}) {
        view->setDelegate(check);
    }

    const auto window = Window::initWithTitle("Scrolling", 400, 300);
    window->setContentView(application->renderView());
    window->show();
    application->setActive(true);
    std::puts("shown");
    Mivora::tests::obeyLines([&](const std::string& command, std::istringstream&) {
        if (command == "where") {
            std::printf("list %.2f inner %.2f turned %.2f\n", scrolledBy(*list), scrolledBy(*inner),
                        scrolledBy(*turned));
        } else if (command == "scale") {
            std::printf("scale %.2f\n", static_cast<double>(list->contentScaleFactor()));
        } else {
            std::printf("unknown command: %s\n", command.c_str());
        }
    });
    application->setActive(false);
    window->close();
    Mivora::tests::endProgram();
}
