#pragma once

#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/windows/Window.h"

namespace Mivora::platform {

/// A window that exists as values only, which the program sets.
class MIVORA_EXPORT HeadlessWindow : public Window {
 public:
    /// A window with the scale of the main screen; it becomes the main window when it is shown.
    static std::shared_ptr<HeadlessWindow> create(const std::string& title, const Rect& content);

    std::string title() const override { return title_; }
    void setTitle(const std::string& title) override { title_ = title; }

    Rect contentRect() const override { return content_; }
    /// Takes effect at once. Values below 1 and NaN count as 1.
    void setContentSize(double width, double height) override;

    void show() override;
    void close() override;
    bool isVisible() const override { return visible_; }

    double backingScaleFactor() const override { return backingScaleFactor_; }
    /// As when the window comes onto another screen. Values that are not finite or not above zero
    /// are ignored.
    void setBackingScaleFactor(double factor);

    bool isMainWindow() const override { return main_; }
    /// Makes the window the one that the user works with, or not; other windows stay what they are.
    void setMainWindow(bool isMain) { main_ = isMain; }

 protected:
    void contentViewDidChange(const std::shared_ptr<OpenGLView>& removed,
                              const std::shared_ptr<OpenGLView>& view) override;

 private:
    friend struct ::MVMaker;
    HeadlessWindow(std::string title, const Rect& content);

    std::string title_;
    Rect content_;
    double backingScaleFactor_;
    bool visible_ = false;
    bool closed_ = false;
    bool main_ = false;
};

}  // namespace Mivora::platform
