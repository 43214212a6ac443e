// Fingers in a window, for the scripts beside it: a board that fills it, and a button and a slider
// of the toolkit above it. Prints what the board and its recognizers receive, as
//
//   began X Y, X Y...         the touches of one delivery, by where they are; also "moved",
//   "ended",
//                             "cancelled"
//   mouse down X Y            the primary button; also "dragged" and "up"
//   hover began, hover ended
//   scrolled X Y              any scrolling that has a way
//   pinch STATE SCALE at X Y  what recognizers tell; where their touches are in the middle
//   rotation STATE DEGREES at X Y
//   pan STATE X Y             how far
//   tap STATE at X Y
//   press STATE at X Y        the long one
//   clicked, slider VALUE     what happens to the widgets
//
// and obeys the lines it reads:
//
//   recognize [NAME...]       which of pinch, rotation, pan, tap and press the board has from now
//                             on, with values that begin anew; together they recognize whatever
//                             each of them would
//   close                     closes the window
//   quit                      ends the program, as does the end of the input
#include <gtk/gtk.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/MivoraMac.h"
#include "MivoraMac/platform/gtk/GtkRenderView.h"
#include "tests/host/CommandLines.h"

using Mivora::Point3;
using Mivora::platform::ViewForGtkWidget;
using Mivora::platform::Window;

namespace {

/// Whole numbers are printed as such, also below zero.
double printed(float value) {
    return std::abs(value) < 0.005F ? 0.0 : static_cast<double>(value);
}

void printPlace(const char* before, Point3 place) {
    std::printf("%s%.4g %.4g", before, printed(place.x), printed(place.y));
}

class Board : public MVColorView {
 public:
    Board() : MVColorView({0.1F, 0.2F, 0.9F, 1.0F}) {
        setSize({2000, 2000});
        setMouseHoverEnabled(true);
    }

    void touchesBegan(const MVTouchSet& touches) override { print("began", touches); }
    void touchesMoved(const MVTouchSet& touches) override { print("moved", touches); }
    void touchesEnded(const MVTouchSet& touches) override { print("ended", touches); }
    void touchesCancelled(const MVTouchSet& touches) override { print("cancelled", touches); }
    void mouseBegan(const std::shared_ptr<MVMouse>& mouse) override { print("down", *mouse); }
    void mouseMoved(const std::shared_ptr<MVMouse>& mouse) override { print("dragged", *mouse); }
    void mouseEnded(const std::shared_ptr<MVMouse>& mouse) override { print("up", *mouse); }
    void mouseHoverBegan(const std::shared_ptr<MVMouse>&) override { std::puts("hover began"); }
    void mouseHoverEnded(const std::shared_ptr<MVMouse>&) override { std::puts("hover ended"); }
    void scrollBegan(const std::shared_ptr<MVScroll>& scroll) override { print(*scroll); }
    void scrollMoved(const std::shared_ptr<MVScroll>& scroll) override { print(*scroll); }

 private:
    void print(const char* what, const MVTouchSet& touches) {
        std::printf("%s", what);
        const char* separator = " ";
        for (const std::shared_ptr<MVTouch>& touch : touches) {
            printPlace(separator, touch->locationInView(shared_from_this()));
            separator = ", ";
        }
        std::puts("");
    }
    void print(const char* what, const MVMouse& mouse) {
        std::printf("mouse %s", what);
        printPlace(" ", mouse.locationInView(shared_from_this()));
        std::puts("");
    }
    static void print(const MVScroll& scroll) {
        const Mivora::Point2 way = scroll.translation();
        if (way != Mivora::Point2::kZero) {
            printPlace("scrolled ", {way.x, way.y, 0});
            std::puts("");
        }
    }
};

class Together : public MVGestureRecognizerDelegate {
 public:
    bool gestureRecognizerShouldRecognizeSimultaneouslyWithGestureRecognizer(
        const std::shared_ptr<MVGestureRecognizer>&,
        const std::shared_ptr<MVGestureRecognizer>&) override {
        return true;
    }
};

/// The recognizers of the board, and their target.
class Recognizers : public std::enable_shared_from_this<Recognizers> {
 public:
    explicit Recognizers(std::shared_ptr<MVView> board) : board_(std::move(board)) {}

    void use(std::istringstream& names) {
        for (const auto& [name, recognizer] : recognizers_) {
            board_->removeGestureRecognizer(recognizer);
        }
        recognizers_.clear();
        for (std::string name; names >> name;) {
            add(name);
        }
    }

    void told(const std::shared_ptr<MVGestureRecognizer>& recognizer) {
        constexpr const char* kStates[] = {"possible", "began",     "changed",
                                           "ended",    "cancelled", "failed"};
        for (const auto& [name, known] : recognizers_) {
            if (known == recognizer) {
                std::printf("%s %s", name.c_str(), kStates[recognizer->state()]);
            }
        }
        if (const auto pan = std::dynamic_pointer_cast<MVPanGestureRecognizer>(recognizer)) {
            printPlace(" ", pan->translationInView(board_));
        } else {
            printValue(recognizer);
            if (recognizer->touches().size() != 0) {
                printPlace(" at ", recognizer->locationInView(board_));
            }
        }
        std::puts("");
    }

 private:
    void add(const std::string& name) {
        std::shared_ptr<MVGestureRecognizer> recognizer;
        if (name == "pinch") {
            recognizer = MVPinchGestureRecognizer::init();
        } else if (name == "rotation") {
            recognizer = MVRotationGestureRecognizer::init();
        } else if (name == "pan") {
            recognizer = MVPanGestureRecognizer::init();
        } else if (name == "tap") {
            recognizer = MVTapGestureRecognizer::init();
        } else {
            recognizer = MVLongPressGestureRecognizer::init();
        }
        recognizer->addTargetAction(shared_from_this(), &Recognizers::told);
        recognizer->setDelegate(together_);
        board_->addGestureRecognizer(recognizer);
        recognizers_.emplace_back(name, recognizer);
    }

    static void printValue(const std::shared_ptr<MVGestureRecognizer>& recognizer) {
        if (const auto pinch = std::dynamic_pointer_cast<MVPinchGestureRecognizer>(recognizer)) {
            std::printf(" %.4g", static_cast<double>(pinch->scale()));
        }
        if (const auto turn = std::dynamic_pointer_cast<MVRotationGestureRecognizer>(recognizer)) {
            std::printf(" %.4g", static_cast<double>(turn->rotation()) * 180 / std::numbers::pi);
        }
    }

    std::shared_ptr<MVView> board_;
    std::shared_ptr<Together> together_ = std::make_shared<Together>();
    std::vector<std::pair<std::string, std::shared_ptr<MVGestureRecognizer>>> recognizers_;
};

std::shared_ptr<MVView> widget(GtkWidget* made, Mivora::Rect2 place) {
    auto bridge = MVBridgeView::initWithBridgeView(ViewForGtkWidget(made));
    bridge->setPosition(place.origin);
    bridge->setSize(place.size);
    return bridge;
}

std::shared_ptr<MVView> button() {
    GtkWidget* const made = gtk_button_new_with_label("Press");
    g_signal_connect(made, "clicked", G_CALLBACK(+[](GtkButton*) { std::puts("clicked"); }),
                     nullptr);
    return widget(made, {{280, 20}, {100, 40}});
}

std::shared_ptr<MVView> slider() {
    GtkWidget* const made = gtk_scale_new_with_range(GTK_ORIENTATION_HORIZONTAL, 0, 100, 10);
    g_signal_connect(made, "value-changed", G_CALLBACK(+[](GtkRange* range) {
                         std::printf("slider %.0f\n", gtk_range_get_value(range));
                     }),
                     nullptr);
    return widget(made, {{20, 240}, {200, 40}});
}

}  // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const auto application = MVApplication::init();
    const auto board = MVMake<Board>();
    const auto recognizers = std::make_shared<Recognizers>(board);
    for (const auto& view : {std::shared_ptr<MVView>(board), button(), slider()}) {
        application->window()->addSubview(view);
    }
    const auto window = Window::initWithTitle("Fingers", 400, 300);
    window->setContentView(application->renderView());
    window->show();
    application->setActive(true);
    std::puts("shown");
    Mivora::tests::obeyLines([&](const std::string& command, std::istringstream& rest) {
        if (command == "recognize") {
            recognizers->use(rest);
        } else if (command == "close") {
            window->close();
        } else {
            std::printf("unknown command: %s\n", command.c_str());
        }
    });
    application->setActive(false);
    window->close();
    Mivora::tests::endProgram();
}
