// A list of 10,000 rows: scroll it with the wheel or the touchpad, click or tap rows to mark them.
// Or with the keyboard: the arrow and page keys move, Return marks.
//
//     list            opens a window, if there is a display
//     list FILE.png   scrolls some way without a display and writes what is seen

#include <MivoraMac/MivoraMac.h>
#include <MivoraMac/platform/headless/HeadlessPointer.h>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "RowList.h"

using Mivora::platform::HeadlessPointer;
using Mivora::platform::Host;
using Mivora::platform::MainThread;
using Mivora::platform::Role;
using Mivora::platform::Window;

namespace {

constexpr int kRows = 10'000;
constexpr float kRowHeight = 40;
constexpr Mivora::Size2 kSize = {360, 480};

/// What the list shows. The views of its rows come and go; this stays.
std::vector<bool> marked(kRows, false);

/// A row in words.
std::string words(int row) {
    return "Row " + std::to_string(row + 1) +
           (marked[static_cast<std::size_t>(row)] ? ", marked" : "");
}

/// One row: a background with a bar whose length tells rows apart.
class Row : public MVColorView {
 public:
    Row() : bar_(MVColorView::init()) {
        setSize({kSize.width, kRowHeight - 1});
        bar_->setPosition({12, 12});
        bar_->setInteractionEnabled(false);
        addSubview(bar_);
        setAccessibilityRole(Role::ListItem);
    }

    void show(int row, bool isCurrent) {
        const auto share = static_cast<float>(row % 100) / 100;
        const bool isMarked = marked[static_cast<std::size_t>(row)];
        Mivora::ColorRGBA ground = isMarked ? MVColorYellowRGBA : MVColorWhiteRGBA;
        if (isCurrent) {
            ground = {ground.red * 0.8F, ground.green * 0.9F, ground.blue, 1};
        }
        setColor(ground);
        setAccessibilityLabel(words(row));
        bar_->setColor(MVColorHSBAToColorRGBA({share, 0.6F, 0.8F, 1}));
        bar_->setSize({40 + 280 * share, kRowHeight - 25});
    }

 private:
    std::shared_ptr<MVColorView> bar_;
};

/// The list, which marks the row that is clicked or tapped.
class MarkingList : public RowList {
 public:
    static std::shared_ptr<MarkingList> make() {
        auto list = MVMake<MarkingList>();
        list->addGestureRecognizer(
            MVTapGestureRecognizer::initWithTargetAction(list, &MarkingList::tapped));
        return list;
    }

    MarkingList()
        : RowList(
              kRows, kRowHeight, [] { return MVMake<Row>(); },
              [this](MVView& view, int row) {
                  static_cast<Row&>(view).show(row, isCurrent(row));
              }) {
        setAccessibilityLabel("Rows");
    }

 protected:
    std::string wordsOf(int row) const override { return words(row); }

    void chooseRow(int row) override {
        marked[static_cast<std::size_t>(row)].flip();
        showRowAgain(row);
    }

 private:
    void tapped(const std::shared_ptr<MVTapGestureRecognizer>& tap) {
        const Mivora::Point3 place = tap->locationInView(shared_from_this());
        if (const int row = rowAt({place.x, place.y}); row >= 0) {
            chooseRow(row);
        }
    }
};

int run(const char* file) {
    if (file != nullptr) {
        ::setenv("MIVORA_HOST", "headless", 1);
    }
    const auto application = MVApplication::init();
    const auto list = MarkingList::make();
    application->window()->setContentView(list);
    // The mouse counts like a finger: a click that trembles is a click.
    application->setMouseMakesFingerTouches(true);

    const auto window = Window::initWithTitle("List", kSize.width, kSize.height);
    window->setContentView(application->renderView());
    window->setCloseHandler([] { MainThread::quit(); });
    window->show();

    if (file != nullptr) {
        HeadlessPointer pointer(application->renderView());
        pointer.moveTo(100, 300);
        pointer.press();
        pointer.release();
        pointer.scrollLines(0, -4.5);
        if (!MVCaptureWindow(application->window()).writePNG(file)) {
            std::fprintf(stderr, "list: cannot write %s\n", file);
            return EXIT_FAILURE;
        }
        return EXIT_SUCCESS;
    }
    application->setActive(true);
    MainThread::run();
    return EXIT_SUCCESS;
}

}  // namespace

int main(int count, char** arguments) {
    try {
        return run(count > 1 ? arguments[1] : nullptr);
    } catch (const MVException& exception) {
        std::fprintf(stderr, "list: %s\n", exception.what());
        return EXIT_FAILURE;
    }
}
