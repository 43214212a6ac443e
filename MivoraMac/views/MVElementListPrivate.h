#pragma once

#include <cstdint>
#include <glm/mat4x4.hpp>
#include <memory>
#include <utility>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/windows/Element.h"

class MVView;
struct MVOwnElement;
class MVWindow;

/// The elements of a window's tree, as hosts show them, and the views that they stand for.
///
/// Gathering goes only where something may be an element: a tree without any costs one load. Depth:
/// takes some hundred bytes of stack for each level on the way to an element.
///
/// Thread: main.
class MIVORA_EXPORT MVElementList {
 public:
    using Element = Mivora::platform::Element;

    /// Gathers the elements anew, in the order that `OpenGLView::elements` says.
    /// @param width, height  of what shows the window, in points
    const std::vector<Element>& gather(MVWindow& window, double width, double height);

    /// The view of an element that was gathered last, or null.
    std::shared_ptr<MVView> view(std::uint64_t identifier) const;

 private:
    /// What the views above one say about it.
    struct Above {
        std::uint64_t parent = 0;
        bool enabled = true;
        /// What brings the world space that the views at hand know to the one they are seen in.
        glm::mat4 seenThrough{1.0F};
        /// The element that speaks for the texts in it, by its index; below 0 for none.
        std::ptrdiff_t speaker = -1;
    };

    bool visit(MVView& view, Above above);
    void add(MVView& view, MVOwnElement own, Above& above);
    Mivora::platform::Rect box(MVView& view, const glm::mat4& seenThrough) const;

    std::vector<Element> elements_;
    std::vector<std::pair<std::uint64_t, std::weak_ptr<MVView>>> views_;  ///< in the same order
    std::vector<bool> named_;  ///< whether the program gave the element its label; same order
    glm::mat4 projection_{1.0F};
    double width_ = 0;
    double height_ = 0;
};
