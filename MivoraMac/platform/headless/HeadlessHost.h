#pragma once

#include <memory>

#include "MivoraMac/platform/Host.h"
#include "MivoraMac/platform/headless/HeadlessScreen.h"

namespace Mivora::platform {

/// The host without a display: GL contexts come from EGL, the screen is a value.
class MIVORA_EXPORT HeadlessHost : public Host {
 public:
    /// What `name` yields.
    static constexpr const char* kName = "headless";

    HeadlessHost();

    const char* name() const override { return kName; }
    std::shared_ptr<Screen> mainScreen() override { return screen_; }
    bool showsNativeViews() const override { return false; }
    std::shared_ptr<Window> createWindow(const std::string& title, const Rect& content) override;

    /// The main screen, whose scale a program may set.
    const std::shared_ptr<HeadlessScreen>& screen() const { return screen_; }

 private:
    std::shared_ptr<HeadlessScreen> screen_;
};

}  // namespace Mivora::platform
