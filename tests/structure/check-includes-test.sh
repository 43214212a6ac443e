#!/bin/bash
# Tries check-includes.sh on small trees of one file each: what it must let pass, what it must name.
set -euo pipefail

check=$(cd "$(dirname "$0")" && pwd)/check-includes.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# try pass|fail FILE INCLUDE: checks a library whose only file FILE has the line "#include INCLUDE".
try() {
    local expected=$1 file=$2 include=$3 verdict=pass
    rm -rf "$work/MivoraMac"
    mkdir -p "$work/MivoraMac/$(dirname "$file")"
    printf '#pragma once\n\n#include %s\n' "$include" > "$work/MivoraMac/$file"
    bash "$check" "$work/MivoraMac" > "$work/output" 2>&1 || verdict=fail
    if [ "$verdict" != "$expected" ]; then
        echo "#include $include in $file: expected $expected, got $verdict"
        failures=$((failures + 1))
    elif [ "$verdict" = fail ] && ! grep -q "^MivoraMac/$file:3: " "$work/output"; then
        echo "#include $include in $file: the message does not say where:"
        cat "$work/output"
        failures=$((failures + 1))
    fi
}

try pass geometry/Point.h '<cmath>'
try pass geometry/Point.h '"MivoraMac/Export.h"'
try pass geometry/Point.cpp '"MivoraMac/platform/base/DebugLog.h"'
try fail geometry/Point.h '"MivoraMac/render/MVShader.h"'
try fail geometry/Point.cpp '"MivoraMac/views/MVView.h"'

try pass render/MVShader.h '"MivoraMac/geometry/Point.h"'
try fail render/MVShader.cpp '"MivoraMac/images/MVImage.h"'
try fail render/MVShader.cpp '"MivoraMac/platform/headless/HeadlessScreen.h"'

try pass views/MVView.cpp '"MivoraMac/images/MVImage.h"'
try pass images/MVImage.cpp '"MivoraMac/render/MVShader.h"'
try pass input/MVTouch.h '"MivoraMac/views/MVView.h"'
try fail views/MVView.cpp '"MivoraMac/app/MVWindow.h"'
try fail input/MVTouch.cpp '"MivoraMac/app/MVWindow.h"'

try pass views/MVScrollView.h '"MivoraMac/app/MVAnimationClockTick.h"'
try fail views/MVScrollView.h '"MivoraMac/app/MVAnimation.h"'
try fail input/MVTouch.cpp '"MivoraMac/app/MVAnimationClock.h"'
try pass app/MVAnimationClock.cpp '"MivoraMac/app/MVWeakPointerContainer.h"'
try fail app/MVAnimationClock.cpp '"MivoraMac/app/MVApplication.h"'
try fail app/MVAnimationClock.cpp '"MivoraMac/views/MVView.h"'

try pass app/MVWindow.h '"MivoraMac/views/MVView.h"'
try pass app/MVWindow.h '"MivoraMac/geometry/Point.h"'
try pass MivoraMac.h '"MivoraMac/app/MVWindow.h"'

try pass platform/windows/Screen.cpp '"MivoraMac/platform/base/DebugLog.h"'
try fail platform/windows/Screen.h '"MivoraMac/geometry/Point.h"'
try fail platform/windows/Screen.cpp '"MivoraMac/app/MVWindow.h"'
try fail platform/windows/Screen.cpp '"MivoraMac/platform/headless/HeadlessScreen.h"'
try fail platform/Host.h '"MivoraMac/platform/headless/HeadlessScreen.h"'
try fail platform/Host.h '"MivoraMac/platform/windows/Screen.h"'
try pass platform/Host.h '"MivoraMac/platform/base/Rect.h"'
try pass platform/Host.cpp '"MivoraMac/platform/windows/Screen.h"'
try pass platform/Host.cpp '"MivoraMac/platform/headless/HeadlessScreen.h"'
try fail platform/Host.cpp '"MivoraMac/platform/gtk/GtkScreen.h"'
try pass platform/gl/GLContext.cpp '"MivoraMac/platform/Host.h"'
try pass platform/gl/Drawable.h '"MivoraMac/platform/pictures/Picture.h"'
try pass platform/windows/OpenGLView.h '"MivoraMac/platform/gl/GLContext.h"'
try fail platform/gl/GLContext.cpp '"MivoraMac/platform/windows/OpenGLView.h"'
try fail platform/base/DebugLog.cpp '"MivoraMac/platform/threads/Clock.h"'
try fail platform/threads/Timer.cpp '"MivoraMac/platform/pictures/Picture.h"'
try fail platform/pictures/Picture.cpp '"MivoraMac/platform/threads/Timer.h"'
try fail platform/windows/Screen.cpp '"MivoraMac/platform/gtk/GtkScreen.h"'
try pass platform/headless/HeadlessScreen.h '"MivoraMac/platform/windows/Screen.h"'
try fail platform/headless/HeadlessScreen.h '"MivoraMac/views/MVView.h"'
try fail platform/headless/HeadlessScreen.h '"MivoraMac/platform/gtk/GtkScreen.h"'
try pass platform/gtk/GtkScreen.h '"MivoraMac/platform/windows/Screen.h"'
try fail platform/gtk/GtkScreen.cpp '"MivoraMac/app/MVWindow.h"'

try pass platform/text/TextLayout.cpp '"MivoraMac/platform/pictures/Picture.h"'
try pass platform/text/TextLayout.cpp '"MivoraMac/platform/threads/MainThread.h"'
try fail platform/text/TextLayout.cpp '"MivoraMac/platform/gl/GLContext.h"'
try fail platform/text/TextLayout.cpp '"MivoraMac/geometry/Color.h"'
try fail platform/pictures/Picture.cpp '"MivoraMac/platform/text/TextLayout.h"'
try fail platform/windows/Screen.cpp '"MivoraMac/platform/text/TextLayout.h"'
try pass views/MVTextView.cpp '"MivoraMac/platform/text/TextLayoutPrivate.h"'
try pass views/MVTextView.cpp '<cairo.h>'
try pass platform/text/TextEnginePrivate.h '<pango/pangocairo.h>'
try fail views/MVTextView.h '<cairo/cairo.h>'
try fail platform/text/TextLayout.h '<pango/pangocairo.h>'

try pass platform/gtk/GtkScreen.h '<gtk/gtk.h>'
try fail platform/windows/Screen.cpp '<gtk/gtk.h>'
try fail app/MVWindow.cpp '<gdk/gdk.h>'
try pass images/MVImage.cpp '<gdk-pixbuf/gdk-pixbuf.h>'

try pass render/MVShader.cpp '<epoxy/gl.h>'
try pass render/ShaderPrivate.h '<epoxy/gl.h>'
try fail render/MVShader.h '<epoxy/gl.h>'
try fail platform/headless/Context.h '<EGL/egl.h>'
try fail views/MVView.h '<GL/gl.h>'

try pass render/MVShader.cpp '"MivoraMac/render/ShaderPrivate.h"'
try fail render/MVShader.h '"MivoraMac/render/ShaderPrivate.h"'
try fail render/MVShader.cpp '"ShaderPrivate.h"'
try fail render/MVShader.cpp '<MivoraMac/render/MVShader.h>'
try fail newpart/Thing.h '"MivoraMac/geometry/Point.h"'
try fail geometry/Point.h '"MivoraMac/newpart/Thing.h"'
try fail geometry/Point.h '  "Point2.h"  // with blanks'

[ "$failures" = 0 ]
