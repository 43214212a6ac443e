#pragma once

#include <functional>
#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/Rect.h"
#include "MivoraMac/platform/windows/NativeWindow.h"

namespace Mivora::platform {

class OpenGLView;

/// A titled, resizable window that shows one view, for programs that need no more of a desktop:
///
///     auto window = Window::initWithTitle("Cards", 800, 600);
///     window->setContentView(application->renderView());
///     window->show();
///
/// Thread: main.
class MIVORA_EXPORT Window : public NativeWindow, public std::enable_shared_from_this<Window> {
 public:
    /// A window of the running host; not on the screen yet.
    /// @param width, height  of the content, in points; values below 1 and such as are not finite
    ///                       count as 1
    static std::shared_ptr<Window> initWithTitle(const std::string& title, double width,
                                                 double height);

    ~Window() override;

    /// The text in the title bar, as UTF-8.
    virtual std::string title() const = 0;
    virtual void setTitle(const std::string& title) = 0;

    /// The size of what is inside the frame: a rectangle at the origin, in points.
    virtual Rect contentRect() const = 0;
    /// Asks for another size; the desktop may decide otherwise.
    virtual void setContentSize(double width, double height) = 0;

    /// What fills the window; null at first.
    const std::shared_ptr<OpenGLView>& contentView() const { return contentView_; }
    /// Shows another view, which is taken from the window it is in; null for none.
    void setContentView(const std::shared_ptr<OpenGLView>& view);

    /// Brings the window onto the screen. No effect once it is closed.
    virtual void show() = 0;

    /// Takes the window off the screen for good and tells the close handler. The content view
    /// leaves the window. No effect when it is closed already.
    virtual void close() = 0;

    /// Whether the window is on the screen.
    virtual bool isVisible() const = 0;

    /// What to do when the window has been closed, by the user or by the program; called once, with
    /// the content view still known but no longer in the window.
    void setCloseHandler(std::function<void()> handler);

 protected:
    Window();

    /// Puts `view` where the content is, after `removed` has left it; either may be null.
    virtual void contentViewDidChange(const std::shared_ptr<OpenGLView>& removed,
                                      const std::shared_ptr<OpenGLView>& view) = 0;

    /// Calls the close handler, the first time.
    void tellClosed();

 private:
    std::shared_ptr<OpenGLView> contentView_;
    std::function<void()> closed_;
};

}  // namespace Mivora::platform
