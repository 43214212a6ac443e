#pragma once

#include <cstdint>

#include "MivoraMac/Export.h"

/// The shapes of the desktop that the pointer can have over a view.
enum class MVCursor : std::uint8_t {
    Inherit,  ///< whatever it has over the superview
    Default,  ///< the usual arrow
    None,     ///< none is seen
    ContextMenu,
    Help,
    Pointer,  ///< the hand over something to press
    Progress,
    Wait,
    Cell,
    Crosshair,
    Text,
    VerticalText,
    Alias,
    Copy,
    Move,
    NoDrop,
    NotAllowed,
    Grab,      ///< the open hand over something to drag
    Grabbing,  ///< the closed hand that drags
    AllScroll,
    ColumnResize,
    RowResize,
    NorthResize,
    EastResize,
    SouthResize,
    WestResize,
    NorthEastResize,
    NorthWestResize,
    SouthEastResize,
    SouthWestResize,
    EastWestResize,
    NorthSouthResize,
    NorthEastSouthWestResize,
    NorthWestSouthEastResize,
    ZoomIn,
    ZoomOut,
};

/// The name of a shape in CSS, such as "pointer", which desktops know, too; empty for `Inherit`
/// and for what is none of them. Thread: any.
MIVORA_EXPORT const char* MVCursorName(MVCursor cursor);
