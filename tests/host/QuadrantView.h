#pragma once

#include <functional>
#include <memory>
#include <string>

#include "MivoraMac/platform/windows/OpenGLView.h"
#include "MivoraMac/render/MVRenderContext.h"

namespace Mivora::tests {

/// A view that draws what can be recognised on a screen, and prints a line for everything that a
/// host tells it.
///
/// It shows four quadrants of different colours inside an edge of one white pixel, so that a look
/// at a few pixels tells size, scale and orientation.
class QuadrantView : public platform::OpenGLView {
 public:
    using Event = platform::Event;

    static std::shared_ptr<QuadrantView> create();

    /// Draws and presents a frame.
    void drawFrame();

    /// Does something once, from within the hook that is told next of `what`: "in" or "out" (of a
    /// window), "size", "scale", "opaque", "entered", "moved", "exited", "down" or "up".
    void doOnce(const std::string& what, std::function<void()> action);

    bool isOpaque() const override;

 protected:
    friend struct ::MVMaker;
    QuadrantView();

    void viewDidMoveToWindow() override;
    void reshape() override;
    void viewDidChangeBackingProperties() override;
    void mouseDown(const std::shared_ptr<const Event>& event) override;
    void mouseDragged(const std::shared_ptr<const Event>& event) override;
    void mouseUp(const std::shared_ptr<const Event>& event) override;
    void rightMouseDown(const std::shared_ptr<const Event>& event) override;
    void rightMouseDragged(const std::shared_ptr<const Event>& event) override;
    void rightMouseUp(const std::shared_ptr<const Event>& event) override;
    void middleMouseDown(const std::shared_ptr<const Event>& event) override;
    void middleMouseDragged(const std::shared_ptr<const Event>& event) override;
    void middleMouseUp(const std::shared_ptr<const Event>& event) override;
    void mouseEntered(const std::shared_ptr<const Event>& event) override;
    void mouseMoved(const std::shared_ptr<const Event>& event) override;
    void mouseExited(const std::shared_ptr<const Event>& event) override;
    void scrollWheel(const std::shared_ptr<const Event>& event) override;

 private:
    void told(const char* what) const;

    std::shared_ptr<MVRenderContext> context_;
    std::string awaited_;
    mutable std::function<void()> action_;  // of one that asks nothing, too
};

}  // namespace Mivora::tests
