#include <MivoraMac/MivoraMac.h>

#include <cstdio>
#include <cstring>
#include <memory>

// A program as a user of the library writes it: includes everything, has a view class of its own
// and draws nothing. Its argument is the version that headers and library should be of.

namespace {

class Card : public MVView {
 public:
    std::shared_ptr<MVView> child() const { return child_; }

 protected:
    Card() { addSubview(child_); }

 private:
    friend struct ::MVMaker;

    std::shared_ptr<MVView> child_ = MVView::init();
};

bool isRight(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "wrong: %s\n", what);
    }
    return condition;
}

bool treeWorks() {
    const auto window = MVWindow::init();
    const auto card = MVMake<Card>();
    window->addSubview(card);
    card->setPosition({10, 20});
    card->child()->setPosition({1, 2});
    const Mivora::Point2 point = card->child()->convertPoint2FToView({100, 100}, window);
    return isRight(point == Mivora::Point2{111, 122}, "conversion of points");
}

bool exceptionsCrossTheLibrary() {
    try {
        MVView::init()->addSubview(nullptr);
    } catch (const MVException& exception) {
        return isRight(exception.name() == MVException::kInvalidArgument, "the exception's name");
    }
    return isRight(false, "an exception that is not thrown");
}

}  // namespace

int main(int count, char** arguments) {
    const bool versionMatches =
        isRight(count >= 2 && std::strcmp(MivoraMacVersionString, arguments[1]) == 0, "version");
    // Only linked, not called, unless asked for: drawing needs a GL driver.
    const bool draws = count < 3 || MVRenderContext::init()->mv_context() != nullptr;
    return versionMatches && draws && treeWorks() && exceptionsCrossTheLibrary() ? 0 : 1;
}
