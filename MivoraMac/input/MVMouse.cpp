#include "MivoraMac/input/MVMouse.h"

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/views/MVView.h"

std::shared_ptr<MVMouse> MVMouse::init() {
    return MVMake<MVMouse>();
}

std::shared_ptr<MVMouse> MVMouse::initWithEvent(
    const std::shared_ptr<const Mivora::platform::Event>& /*event*/) {
    return init();
}

MVMouse::MVMouse() = default;
MVMouse::~MVMouse() = default;

Mivora::Point3 MVMouse::locationInView(const std::shared_ptr<MVView>& view) const {
    return view ? view->mv_locationOfRay(ray_) : Mivora::Point3::kNull;
}

Mivora::Point3 MVMouse::previousLocationInView(const std::shared_ptr<MVView>& view) const {
    return view ? view->mv_locationOfRay(previousRay_) : Mivora::Point3::kNull;
}
