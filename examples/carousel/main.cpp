// A ring of cards to play with: drag it, turn the wheel, point at cards, click them; pinch it on a
// touchpad; on a touch screen, tap a card, or scale and turn it with two fingers. Or without a
// mouse: Tab comes to the cards, to the list of their names and to the field; the arrow keys turn
// the ring and walk through the list, Return turns a card over.
//
//     carousel                        opens a window, if there is a display
//     carousel --headless --out DIR   plays a scripted pointer and writes PNG files into DIR

#include <MivoraMac/MivoraMac.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "CardList.h"
#include "Carousel.h"
#include "NameField.h"
#include "Playback.h"

using Mivora::platform::Host;
using Mivora::platform::MainThread;
using Mivora::platform::Window;

namespace {

struct Options {
    bool headless = false;
    bool still = false;
    bool hasField = true;
    double width = 1280;
    double height = 800;
    std::string folder = "carousel-frames";
};

/// The ring, the names of its cards beside it, and a field that writes the name of the card in
/// front.
class Scene : public MVView {
 public:
    Scene(std::shared_ptr<Carousel> carousel, bool hasField)
        : carousel_(std::move(carousel)), list_(CardList::make(carousel_->names())) {
        addSubview(carousel_);
        addSubview(list_);
        if (hasField) {
            addSubview(field_.view());
        }
        showFront();
        // What calls these is held by this view.
        carousel_->setFrontHandler([this] { showFront(); });
        list_->setChooseHandler([this](int card) { carousel_->turnTo(card); });
        field_.setChangeHandler([this](const std::string& name) {
            carousel_->setName(carousel_->frontCard(), name);
            list_->setName(carousel_->frontCard(), name);
        });
    }

    ~Scene() override {
        carousel_->setFrontHandler(nullptr);
        list_->setChooseHandler(nullptr);
    }

 protected:
    /// Keys that nobody below has a use for, and all of them while nothing has the focus.
    bool keyBegan(const std::shared_ptr<MVKey>& key) override {
        return carousel_->turnByKey(*key) || MVView::keyBegan(key);
    }

    void layoutSubviews() override {
        constexpr float kMargin = 12;
        carousel_->setSize(size());
        list_->setPosition({kMargin, kMargin});
        list_->setSize({CardList::kWidth, size().height - 2 * kMargin});
        field_.view()->setPosition({(size().width - NameField::kSize.width) / 2, kMargin});
    }

 private:
    void showFront() {
        const int front = carousel_->frontCard();
        list_->setFrontCard(front);
        field_.setName(carousel_->names()[static_cast<std::size_t>(front)]);
    }

    std::shared_ptr<Carousel> carousel_;
    std::shared_ptr<CardList> list_;
    NameField field_;
};

void printUsage(std::FILE* stream) {
    std::fputs(
        "usage: carousel [--headless] [--out DIR] [--size WIDTHxHEIGHT] [--still]\n"
        "\n"
        "Opens a window with a ring of cards. Drag it, turn the wheel, point at cards, click\n"
        "them. Pinch it on a touchpad. On a touch screen, tap cards, and scale and turn them\n"
        "with two fingers. Or use the Tab key, the arrow keys and Return.\n"
        "\n"
        "  --headless  opens no window: plays a scripted pointer and writes what is seen as PNG\n"
        "              files. So it does where no display answers.\n"
        "  --out DIR   where the files go; without it: carousel-frames\n"
        "  --size WIDTHxHEIGHT\n"
        "              of the window or the pictures, in points; without it: 1280x800\n"
        "  --still     the ring starts at rest\n"
        "  --no-field  leaves out the text field, which pictures do not show\n",
        stream);
}

bool parse(int count, char** arguments, Options& options) {
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        char more = 0;
        if (argument == "--headless") {
            options.headless = true;
        } else if (argument == "--still") {
            options.still = true;
        } else if (argument == "--no-field") {
            options.hasField = false;
        } else if (argument == "--size" && i + 1 < count &&
                   std::sscanf(arguments[i + 1], "%lfx%lf%c", &options.width, &options.height,
                               &more) == 2 &&
                   options.width >= 100 && options.height >= 100 && options.width <= 8192 &&
                   options.height <= 8192) {
            ++i;
        } else if (argument == "--out" && i + 1 < count) {
            options.folder = arguments[++i];
        } else if (argument == "--help" || argument == "-h") {
            printUsage(stdout);
            std::exit(EXIT_SUCCESS);
        } else {
            std::fprintf(stderr, "carousel: what is \"%s\"?\n", arguments[i]);
            printUsage(stderr);
            return false;
        }
    }
    return true;
}

int run(const Options& options) {
    if (options.headless) {
        ::setenv("MIVORA_HOST", "headless", 1);
    }
    const auto application = MVApplication::init();
    const auto carousel = Carousel::make(application->animationClock());
    // What turns over reaches towards the eye, and the back of the ring lies far behind.
    application->window()->setNearDistance(700);
    application->window()->setFarDistance(3000);
    application->window()->setContentView(MVMake<Scene>(carousel, options.hasField));
    // The mouse counts like a finger: a click that trembles turns the card, and not the ring.
    application->setMouseMakesFingerTouches(true);

    const auto window = Window::initWithTitle("Carousel", options.width, options.height);
    window->setContentView(application->renderView());
    window->setCloseHandler([] { MainThread::quit(); });
    window->show();

    if (std::string_view(Host::current().name()) == "headless") {
        if (!options.headless) {
            std::fputs("carousel: no display answers, so this goes into files\n", stderr);
        }
        if (!playBack(application, options.folder)) {
            return EXIT_FAILURE;
        }
        std::printf("The pictures are in %s\n", options.folder.c_str());
        return EXIT_SUCCESS;
    }
    if (!options.still) {
        carousel->spin(1.2F);
    }
    application->setActive(true);
    MainThread::run();
    return EXIT_SUCCESS;
}

}  // namespace

int main(int count, char** arguments) {
    Options options;
    if (!parse(count, arguments, options)) {
        return 2;
    }
    try {
        return run(options);
    } catch (const MVException& exception) {
        std::fprintf(stderr, "carousel: %s\n", exception.what());
        return EXIT_FAILURE;
    }
}
