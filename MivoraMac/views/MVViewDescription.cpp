// Debug names and descriptions.

#include <sstream>
#include <typeinfo>

#include "MivoraMac/platform/base/ClassNamePrivate.h"
#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVViewRareStatePrivate.h"
#include "MivoraMac/views/MVViewTreePrivate.h"

namespace {

std::ostream& operator<<(std::ostream& out, Mivora::Point3 point) {
    return out << '(' << point.x << ", " << point.y << ", " << point.z << ')';
}

std::ostream& operator<<(std::ostream& out, Mivora::Size3 size) {
    return out << '(' << size.width << ", " << size.height << ", " << size.depth << ')';
}

/// The three upper rows; the fourth of an affine matrix says nothing.
std::ostream& operator<<(std::ostream& out, const glm::mat4& matrix) {
    for (int row = 0; row < 3; ++row) {
        out << (row == 0 ? "[" : " | ");
        for (int column = 0; column < 4; ++column) {
            // Adding 0 makes -0 read as 0.
            out << (column == 0 ? "" : " ") << matrix[column][row] + 0.0F;
        }
    }
    return out << ']';
}

template <class Value>
void writeUnless(std::ostream& out, const char* name, const Value& value, const Value& usual) {
    if (!(value == usual)) {
        out << ' ' << name << ' ' << value;
    }
}

}  // namespace

std::string MVView::debugName() const {
    return rareState().debugName;
}

void MVView::setDebugName(const std::string& name) {
    if (rareState().debugName != name) {
        rareStateToChange().debugName = name;
    }
}

std::string MVView::describe() const {
    std::ostringstream out;
    // Visiting needs no change of the views, but hands them out as if it might.
    MVViewTree::visitSubtree(
        const_cast<MVView&>(*this), [&out](const MVView& view, std::size_t depth) {
            out << std::string(depth * 2, ' ') << Mivora::platform::classNameOf(typeid(view));
            if (const std::string& name = view.rareState().debugName; !name.empty()) {
                out << " \"" << name << '"';
            }
            const Mivora::Point3 zero = Mivora::Point3::kZero;
            writeUnless(out, "position", view.position_, zero);
            writeUnless(out, "size", view.size_, Mivora::Size3::kZero);
            writeUnless(out, "rotation", view.rotation_, zero);
            writeUnless(out, "scale", Mivora::Point3{view.scale_, view.scale_, view.scale_},
                        {1.0F, 1.0F, 1.0F});
            writeUnless(out, "anchor", view.anchorPoint_, zero);
            writeUnless(out, "localOrigin", view.localOrigin_, zero);
            writeUnless(out, "coordinateSystem", view.coordinateSystem_, 0);
            writeUnless(out, "opacity", view.opacity_, 1.0F);
            out << (view.hidden_ ? " hidden" : "");
            if (!view.transformMatrixDirty_) {
                writeUnless(out, "world", view.transformMatrix_, glm::mat4(1.0F));
            }
            out << (view.localTransformMatrixDirty_ ? " localTransformMatrixDirty" : "")
                << (view.transformMatrixDirty_ ? " transformMatrixDirty" : "")
                << (view.effectivelyHiddenDirty_ ? " effectivelyHiddenDirty" : "")
                << (view.effectiveOpacityDirty_ ? " effectiveOpacityDirty" : "") << '\n';
        });
    return out.str();
}
