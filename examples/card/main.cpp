#include <MivoraMac/MivoraMac.h>

using Mivora::platform::MainThread;
using Mivora::platform::Window;

// A card that turns a little further about its vertical axis with every click.
class Card : public MVColorView {
 public:
    Card() : MVColorView({0.2f, 0.5f, 0.9f, 1}) {
        setSize({200, 120});
        setAnchorPoint({0.5f, 0.5f});
        setPosition({200, 150});
        setRotation3({0, 0.6f, 0});
    }
    void mouseEnded(const std::shared_ptr<MVMouse>&) override {
        setRotation3({0, rotation3().y + 0.3f, 0});
    }
};

int main() {
    const auto application = MVApplication::init();
    application->window()->addSubview(MVMake<Card>());

    const auto window = Window::initWithTitle("Card", 400, 300);
    window->setContentView(application->renderView());
    window->setCloseHandler([] { MainThread::quit(); });
    window->show();

    application->setActive(true);
    MainThread::run();
}
