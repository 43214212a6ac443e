#pragma once

#include <memory>

#include "MivoraMac/Export.h"

class MVBridgeView;

/// What holds the native views of a window's bridge views over its drawing.
///
/// Thread: main.
class MIVORA_EXPORT MVBridgeViewHost {
 public:
    virtual ~MVBridgeViewHost();

    /// Puts the native view of an element over the drawing. Null, and an element without a native
    /// view, are ignored.
    virtual void addBridgeView(const std::shared_ptr<MVBridgeView>& bridgeView) = 0;

    /// Takes the native view of an element away. Null is ignored.
    virtual void removeBridgeView(const std::shared_ptr<MVBridgeView>& bridgeView) = 0;

    /// The height of what shows the window, in points: frames of native views count from its
    /// bottom.
    virtual double mv_bridgeViewHostHeight() const = 0;
};
