#include <memory>
#include <string>
#include <typeinfo>

#include "MivoraMac/input/MVEventLogPrivate.h"
#include "MivoraMac/input/MVInteraction.h"
#include "MivoraMac/platform/base/ClassNamePrivate.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/views/MVView.h"

using Mivora::platform::DebugLog;

void MVEventLog::write(const char* what, const MVInteraction& interaction) {
    constexpr DebugLog::Category kEvents = DebugLog::Category::Events;
    if (!DebugLog::isEnabled(kEvents)) {
        return;
    }
    const std::shared_ptr<MVView> view = interaction.view();
    if (!view) {
        DebugLog::log(kEvents, "%s over no view", what);
        return;
    }
    const Mivora::Point3 location = interaction.locationInView(view);
    DebugLog::log(kEvents, "%s in %s at (%g, %g, %g)", what, nameOf(*view).c_str(),
                  static_cast<double>(location.x), static_cast<double>(location.y),
                  static_cast<double>(location.z));
}

std::string MVEventLog::nameOf(const MVView& view) {
    const std::string name = view.debugName();
    return name.empty() ? Mivora::platform::classNameOf(typeid(view)) : '"' + name + '"';
}
