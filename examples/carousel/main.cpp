// A ring of cards to play with: drag it, turn the wheel, point at cards, click them.
//
//     carousel                        opens a window, if there is a display
//     carousel --headless --out DIR   plays a scripted pointer and writes PNG files into DIR

#include <MivoraMac/MivoraMac.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "Carousel.h"
#include "Playback.h"

using Mivora::platform::Host;
using Mivora::platform::MainThread;
using Mivora::platform::Window;

namespace {

struct Options {
    bool headless = false;
    bool still = false;
    double width = 1280;
    double height = 800;
    std::string folder = "carousel-frames";
};

void printUsage(std::FILE* stream) {
    std::fputs(
        "usage: carousel [--headless] [--out DIR] [--size WIDTHxHEIGHT] [--still]\n"
        "\n"
        "Opens a window with a ring of cards. Drag it, turn the wheel, point at cards, click\n"
        "them.\n"
        "\n"
        "  --headless  opens no window: plays a scripted pointer and writes what is seen as PNG\n"
        "              files. So it does where no display answers.\n"
        "  --out DIR   where the files go; without it: carousel-frames\n"
        "  --size WIDTHxHEIGHT\n"
        "              of the window or the pictures, in points; without it: 1280x800\n"
        "  --still     the ring starts at rest\n",
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
    application->window()->setFarDistance(3000);
    application->window()->setContentView(carousel);

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
