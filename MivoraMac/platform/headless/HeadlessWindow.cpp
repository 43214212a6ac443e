#include "MivoraMac/platform/headless/HeadlessWindow.h"

#include <cmath>
#include <utility>

#include "MivoraMac/platform/windows/OpenGLView.h"
#include "MivoraMac/platform/windows/Screen.h"

namespace Mivora::platform {

namespace {

/// The content view, if it has not come into another window since. A copy: what the view does about
/// a change may take it out of the window.
std::shared_ptr<OpenGLView> viewIn(const Window& window) {
    const std::shared_ptr<OpenGLView> view = window.contentView();
    return view && view->window().get() == &window ? view : nullptr;
}

}  // namespace

std::shared_ptr<HeadlessWindow> HeadlessWindow::create(const std::string& title,
                                                       const Rect& content) {
    return MVMake<HeadlessWindow>(title, content);
}

HeadlessWindow::HeadlessWindow(std::string title, const Rect& content)
    : title_(std::move(title)),
      content_(content),
      backingScaleFactor_(Screen::mainScreen()->backingScaleFactor()) {}

void HeadlessWindow::setContentSize(double width, double height) {
    content_ = {0, 0, width >= 1 ? width : 1, height >= 1 ? height : 1};
    if (const std::shared_ptr<OpenGLView> view = viewIn(*this)) {
        view->setFrame(content_);
    }
}

void HeadlessWindow::show() {
    if (!closed_ && !visible_) {
        visible_ = true;
        main_ = true;
    }
}

void HeadlessWindow::close() {
    if (closed_) {
        return;
    }
    const std::shared_ptr<Window> kept = shared_from_this();
    closed_ = true;
    visible_ = false;
    main_ = false;
    if (const std::shared_ptr<OpenGLView> view = viewIn(*this)) {
        view->moveToWindow(nullptr);
    }
    tellClosed();
}

void HeadlessWindow::setBackingScaleFactor(double factor) {
    if (!std::isfinite(factor) || factor <= 0) {
        return;
    }
    backingScaleFactor_ = factor;
    if (const std::shared_ptr<OpenGLView> view = viewIn(*this)) {
        view->setBackingScaleFactor(factor);
    }
}

void HeadlessWindow::contentViewDidChange(const std::shared_ptr<OpenGLView>& removed,
                                          const std::shared_ptr<OpenGLView>& view) {
    if (removed && removed->window().get() == this) {
        removed->moveToWindow(nullptr);
    }
    // Unless what the removed view did about it has changed the content again.
    if (view && view == contentView() && !closed_) {
        view->setFrame(content_);
        view->moveToWindow(shared_from_this());
    }
}

}  // namespace Mivora::platform
