#include <algorithm>
#include <array>
#include <cmath>
#include <glm/matrix.hpp>
#include <limits>
#include <string>
#include <utility>

#include "MivoraMac/views/MVElementListPrivate.h"
#include "MivoraMac/views/MVViewTreePrivate.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::Element;
using Mivora::platform::Rect;
using Mivora::platform::Role;

namespace {

/// Farther out nothing is placed, in points: hosts count pixels in integers.
constexpr double kFarthest = 1e6;

/// Whether the texts in an element of such a role are what it says.
bool speaksForItsTexts(Role role) {
    return role != Role::None && role != Role::Group && role != Role::Label && role != Role::List;
}

/// Whether a view is nothing but a text that somebody above may speak for.
bool isText(const MVView& view, const MVOwnElement& own) {
    return own.role == Role::Label && !view.mv_isGivenElement();
}

/// The corners of a polygon that lie in front of the near plane, with those where it cuts an edge.
template <std::size_t Count>
std::vector<glm::vec4> inFrontOfNearPlane(const std::array<glm::vec4, Count>& corners) {
    std::vector<glm::vec4> result;
    for (std::size_t i = 0; i < Count; ++i) {
        const glm::vec4& from = corners[i];
        const glm::vec4& to = corners[(i + 1) % Count];
        const float before = from.z + from.w;
        const float after = to.z + to.w;
        if (before >= 0) {
            result.push_back(from);
        }
        if ((before >= 0) != (after >= 0)) {
            result.push_back(from + (to - from) * (before / (before - after)));
        }
    }
    return result;
}

}  // namespace

const std::vector<Element>& MVElementList::gather(MVWindow& window, double width, double height) {
    elements_.clear();
    views_.clear();
    named_.clear();
    if (MVViewTree::mayHoldElements(window)) {
        // First, for it places the camera, which counts in every transform.
        projection_ = window.projectionMatrix();
        width_ = width;
        height_ = height;
        visit(window, {});
    }
    return elements_;
}

std::shared_ptr<MVView> MVElementList::view(std::uint64_t identifier) const {
    const auto found = std::find_if(views_.begin(), views_.end(), [identifier](const auto& entry) {
        return entry.first == identifier;
    });
    return found != views_.end() ? found->second.lock() : nullptr;
}

/// @return whether there may still be an element
bool MVElementList::visit(MVView& view, Above above) {
    if (!MVViewTree::mayHoldElements(view) || view.isHidden()) {
        return MVViewTree::mayHoldElements(view);
    }
    const std::shared_ptr<MVView> kept = view.weak_from_this().lock();
    above.enabled = above.enabled && view.interactionEnabled();
    MVOwnElement own = view.mv_ownElement();
    bool mayHold = own.isElement || view.mv_isGivenElement();
    if (mayHold) {
        add(view, std::move(own), above);
    }

    const std::shared_ptr<const MVViewArray> subviews = view.subviews();
    std::vector<MVView*> order;
    bool isOrdered = true;
    for (const std::shared_ptr<MVView>& subview : *subviews) {
        if (MVViewTree::mayHoldElements(*subview)) {
            isOrdered =
                isOrdered && (order.empty() || order.back()->focusOrder() <= subview->focusOrder());
            order.push_back(subview.get());
        }
    }
    if (!isOrdered) {
        std::stable_sort(order.begin(), order.end(), [](const MVView* a, const MVView* b) {
            return a->focusOrder() < b->focusOrder();
        });
    }
    if (!order.empty()) {
        const glm::mat4 known = view.transformMatrix();
        const glm::mat4 seen = view.MVView::transformMatrix();
        if (known != seen) {
            above.seenThrough = above.seenThrough * seen * glm::inverse(known);
        }
    }
    for (MVView* const subview : order) {
        const bool subviewMayHold = visit(*subview, above);
        mayHold = mayHold || subviewMayHold;
    }
    if (!mayHold) {
        MVViewTree::holdsNoElements(view);
    }
    return mayHold;
}

/// Adds an element, which the views below its own are in, unless another one speaks for it.
void MVElementList::add(MVView& view, MVOwnElement own, Above& above) {
    if (above.speaker >= 0 && isText(view, own)) {
        const auto speaker = static_cast<std::size_t>(above.speaker);
        if (!named_[speaker]) {
            std::string& label = elements_[speaker].label;
            label += (label.empty() ? "" : " ") + own.label;
        }
        return;
    }
    Element element;
    element.identifier = view.mv_elementIdentifier();
    element.parent = above.parent;
    element.label = view.accessibilityLabel();
    const bool isNamed = !element.label.empty() || !own.label.empty();
    if (element.label.empty()) {
        element.label = std::move(own.label);
    }
    element.description = view.accessibilityDescription();
    element.value = view.accessibilityValue();
    for (const MVAccessibilityAction& action : view.accessibilityActions()) {
        element.actions.push_back(action.name);
    }
    element.role = view.accessibilityRole();
    if (element.role == Role::None) {
        element.role = own.role;
    }
    if (element.role == Role::None) {
        element.role = element.actions.empty() ? Role::Group : Role::Button;
    }
    element.focusable = view.focusable() && above.enabled;
    element.disabled = !above.enabled && (view.focusable() || !element.actions.empty());
    element.box = box(view, above.seenThrough);
    element.embedded = std::move(own.embedded);

    above.parent = element.identifier;
    above.speaker =
        speaksForItsTexts(element.role) ? static_cast<std::ptrdiff_t>(elements_.size()) : -1;
    views_.emplace_back(element.identifier, view.weak_from_this());
    named_.push_back(isNamed);
    elements_.push_back(std::move(element));
}

/// The box around the content of a view as it is seen.
Rect MVElementList::box(MVView& view, const glm::mat4& seenThrough) const {
    const glm::mat4 matrix = projection_ * seenThrough * view.MVView::transformMatrix();
    const Mivora::Point3 o = view.localOrigin3();
    const Mivora::Size2 size = view.size();
    const std::array<glm::vec4, 4> corners = {
        matrix * glm::vec4(o.x, o.y, o.z, 1), matrix * glm::vec4(o.x + size.width, o.y, o.z, 1),
        matrix * glm::vec4(o.x + size.width, o.y + size.height, o.z, 1),
        matrix * glm::vec4(o.x, o.y + size.height, o.z, 1)};
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    double left = kInfinity;
    double bottom = kInfinity;
    double right = -kInfinity;
    double top = -kInfinity;
    for (const glm::vec4& corner : inFrontOfNearPlane(corners)) {
        const double x = (static_cast<double>(corner.x / corner.w) + 1) / 2 * width_;
        const double y = (static_cast<double>(corner.y / corner.w) + 1) / 2 * height_;
        if (!std::isfinite(x) || !std::isfinite(y)) {
            return {};
        }
        left = std::min(left, std::clamp(x, -kFarthest, kFarthest));
        right = std::max(right, std::clamp(x, -kFarthest, kFarthest));
        bottom = std::min(bottom, std::clamp(y, -kFarthest, kFarthest));
        top = std::max(top, std::clamp(y, -kFarthest, kFarthest));
    }
    return left <= right ? Rect{left, bottom, right - left, top - bottom} : Rect{};
}
