#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"

class MVView;

/// Something that the pointer does to the scene: a ray from the eye through the pointer. Touches,
/// mouse records and scroll records are interactions.
///
/// Thread: main.
class MIVORA_EXPORT MVInteraction {
 public:
    virtual ~MVInteraction();

    /// Where the ray meets the view's interaction plane, in the view's content space, rounded to
    /// the view's pixels.
    /// @param view  null yields `Point3::kNull`
    virtual Mivora::Point3 locationInView(const std::shared_ptr<MVView>& view) const = 0;

    /// The view that the interaction belongs to, or null.
    virtual std::shared_ptr<MVView> view() const = 0;

    /// Whether this is a pointer that merely hovers, which only views that want hovers receive.
    virtual bool mv_isHover() const { return false; }
};
