#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "MivoraMac/platform/windows/Event.h"

namespace Mivora::platform {

/// What the keys of the keyboard mean to a view that has the focus: which press is a repetition,
/// and what text they write. Dead keys and the Compose key are understood; input methods are for
/// widgets made for text.
///
/// Thread: main.
class GtkKeys {
 public:
    GtkKeys() = default;
    ~GtkKeys();
    GtkKeys(const GtkKeys&) = delete;
    GtkKeys& operator=(const GtkKeys&) = delete;

    /// What became of an event of the toolkit.
    struct Meaning {
        std::optional<Event> event;  ///< for the view, without modifier keys
        bool isTaken = false;        ///< it belongs to a character that is being composed
    };
    /// @param event  of a press or a release. A release is for the view if the press was
    Meaning read(GdkEvent* event);

    /// The releases of all keys that are held. A character that is being composed is dropped.
    std::vector<Event> releaseAll();

 private:
    std::string compose(GdkEvent* event, bool& isTaken);

    GtkIMContext* composer_ = nullptr;     // once there has been a press
    std::string composed_;                 // during `compose`
    std::map<guint, std::uint32_t> held_;  // symbols by key codes
};

}  // namespace Mivora::platform
