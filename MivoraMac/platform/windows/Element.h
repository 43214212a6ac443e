#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/platform/base/Rect.h"

namespace Mivora::platform {

class View;

/// What something on the screen is for those who do not see it.
enum class Role : std::uint8_t {
    None,         ///< nothing of its own
    Group,        ///< something that holds others
    Button,       ///< something to press
    CheckBox,     ///< something that is on or off
    Heading,      ///< the title of what follows
    Label,        ///< text
    Link,         ///< something that leads elsewhere
    List,         ///< something that holds list items
    ListItem,     ///< one of a list
    Picture,      ///< an image
    ProgressBar,  ///< how far something has come
    RadioButton,  ///< one of several of which one is on
    Slider,       ///< a value between two ends
    Switch,       ///< as a check box, with effect at once
};

/// Something within an `OpenGLView` that the keyboard reaches or that assistive technology shows,
/// as the view tells the host of it.
struct Element {
    /// Tells the element from all others of the process, as long as the process runs. Never 0.
    std::uint64_t identifier = 0;
    /// The element that this one is in; 0 for the view itself.
    std::uint64_t parent = 0;
    /// What it is; `Role::None` never.
    Role role = Role::Group;
    /// What it is called, for people; UTF-8, as the texts below. Empty for no name.
    std::string label;
    /// More about it.
    std::string description;
    /// What it says at present, where that changes.
    std::string value;
    /// The names of what can be done with it; see `OpenGLView::performAction`.
    std::vector<std::string> actions;
    /// Whether the keyboard's focus can go there.
    bool focusable = false;
    /// Whether nothing can be done with it at present. Such a one is not focusable.
    bool disabled = false;
    /// What it covers, in points from the view's bottom left corner: the box around it as it is
    /// seen, in perspective. May reach beyond the view. Zero for what lies behind the eye.
    Rect box;
    /// The native view that stands here, which itself knows all of the above; null for none.
    std::shared_ptr<View> embedded;

    /// Compares all fields.
    bool operator==(const Element&) const = default;
};

}  // namespace Mivora::platform
