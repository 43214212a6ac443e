#include "MivoraMac/platform/windows/Window.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "MivoraMac/platform/Host.h"
#include "MivoraMac/platform/threads/WorkQueue.h"
#include "MivoraMac/platform/windows/OpenGLView.h"

namespace Mivora::platform {

namespace {

double length(double value) {
    return std::isfinite(value) ? std::max(value, 1.0) : 1.0;
}

}  // namespace

std::shared_ptr<Window> Window::initWithTitle(const std::string& title, double width,
                                              double height) {
    return Host::current().createWindow(title, {0, 0, length(width), length(height)});
}

Window::Window() = default;
Window::~Window() = default;

void Window::setContentView(const std::shared_ptr<OpenGLView>& view) {
    if (view == contentView_) {
        return;
    }
    // A copy: the reference may be to what the window that has the view knows it by.
    const std::shared_ptr<OpenGLView> shown = view;
    if (shown) {
        shown->removeFromSuperview();
        if (const auto other = std::dynamic_pointer_cast<Window>(shown->window());
            other && other.get() != this && other->contentView() == shown) {
            other->setContentView(nullptr);
        }
    }
    const std::shared_ptr<OpenGLView> removed = std::exchange(contentView_, shown);
    contentViewDidChange(removed, shown);
}

void Window::setCloseHandler(std::function<void()> handler) {
    closed_ = std::move(handler);
}

void Window::tellClosed() {
    if (const std::function<void()> closed = std::exchange(closed_, nullptr)) {
        runLogged(closed);
    }
}

}  // namespace Mivora::platform
