#pragma once

#include <gtk/gtk.h>

#include <memory>
#include <string>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/windows/Window.h"

namespace Mivora::platform {

/// A window of the toolkit that holds one view and nothing else.
class GtkPlatformWindow : public Window {
 public:
    static std::shared_ptr<GtkPlatformWindow> create(const std::string& title, const Rect& content);
    ~GtkPlatformWindow() override;

    std::string title() const override;
    void setTitle(const std::string& title) override;
    /// Before the window has been shown: the size it asks for.
    Rect contentRect() const override;
    /// Values below 1 and NaN count as 1.
    void setContentSize(double width, double height) override;
    void show() override;
    void close() override;
    bool isVisible() const override;
    double backingScaleFactor() const override;
    bool isMainWindow() const override;

 protected:
    void contentViewDidChange(const std::shared_ptr<OpenGLView>& removed,
                              const std::shared_ptr<OpenGLView>& view) override;

 private:
    friend struct ::MVMaker;
    GtkPlatformWindow(const std::string& title, const Rect& content);

    void remember();
    void destroy();
    void wasDestroyed();

    GtkWindow* window_;  // null once closed
    std::string closedTitle_;
    Rect closedRect_;
};

}  // namespace Mivora::platform
