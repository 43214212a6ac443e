#pragma once

#include <memory>

#include "MivoraMac/Export.h"

namespace Mivora::platform {
class View;
}

/// An element of the view tree that a native view stands for on the screen, above all drawing.
///
/// Thread: main.
class MIVORA_EXPORT MVBridgedView {
 public:
    virtual ~MVBridgedView();

    /// The native view, or null.
    virtual std::shared_ptr<Mivora::platform::View> bridgeView() const = 0;

    /// Puts the native view where the element is seen. Called after every change of the size of
    /// what shows the tree.
    virtual void mv_positionBridgeView() = 0;
};
