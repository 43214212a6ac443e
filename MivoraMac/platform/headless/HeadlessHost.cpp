#include "MivoraMac/platform/headless/HeadlessHost.h"

#include "MivoraMac/platform/headless/HeadlessWindow.h"

namespace Mivora::platform {

HeadlessHost::HeadlessHost() : screen_(std::make_shared<HeadlessScreen>()) {}

std::shared_ptr<Window> HeadlessHost::createWindow(const std::string& title, const Rect& content) {
    return HeadlessWindow::create(title, content);
}

}  // namespace Mivora::platform
