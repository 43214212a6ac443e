#include "MivoraMac/platform/gtk/GtkDisplayLinkPrivate.h"

#include <utility>

#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/gtk/GtkRenderPeerPrivate.h"
#include "MivoraMac/platform/gtk/GtkScreenPrivate.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/windows/OpenGLView.h"

namespace Mivora::platform {

GtkDisplayLink::GtkDisplayLink(Handler handler, double periodSeconds)
    : DisplayLink(std::move(handler)) {
    setActualOutputVideoRefreshPeriod(periodSeconds);
}

void GtkDisplayLink::setCurrentDisplayFromOpenGLContext(GLContext& context,
                                                        const PixelFormat& /*format*/) {
    MainThread::performAndWait([&] {
        const auto* view = dynamic_cast<OpenGLView*>(context.view());
        const auto* peer = view != nullptr ? dynamic_cast<GtkRenderPeer*>(view->peer()) : nullptr;
        GdkMonitor* const monitor =
            peer != nullptr ? GtkScreen::monitorOf(peer->widget()) : nullptr;
        if (monitor != nullptr) {
            setActualOutputVideoRefreshPeriod(GtkScreen::refreshPeriod(monitor));
        }
    });
}

}  // namespace Mivora::platform
