#include "MivoraMac/platform/gtk/GtkEmbeddingPrivate.h"

#include <gsk/gl/gskglrenderer.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>
#include <limits>
#include <optional>
#include <utility>

#include "MivoraMac/platform/gtk/GtkWidgetViewPrivate.h"
#include "MivoraMac/platform/gtk/PlaneTransformPrivate.h"

namespace Mivora::platform {

namespace {

glm::dmat4 translation(double x, double y) {
    return glm::translate(glm::dmat4(1.0), glm::dvec3(x, y, 0));
}

/// Between an origin at the top with y downward and one at the bottom with y upward, either way.
glm::dmat4 flip(double height) {
    return glm::scale(translation(0, height), glm::dvec3(1, -1, 1));
}

/// What the views in `view` are seen through, in its own coordinates.
glm::dmat4 sublayerTransform(const View& view) {
    if (view.sublayerTransform() == glm::dmat4(1.0)) {
        return glm::dmat4(1.0);
    }
    const Rect bounds = view.bounds();
    const double x = bounds.x + bounds.width / 2;
    const double y = bounds.y + bounds.height / 2;
    return translation(x, y) * view.sublayerTransform() * translation(-x, -y);
}

/// From the coordinates of a view to those of the one it is in.
glm::dmat4 toSuperview(const View& view) {
    return translation(view.frame().x - view.bounds().x, view.frame().y - view.bounds().y);
}

bool isFinite(const glm::dmat4& matrix) {
    const double* values = glm::value_ptr(matrix);
    return std::all_of(values, values + 16, [](double value) { return std::isfinite(value); });
}

GskTransform* transformOf(const PlaneTransform& plane) {
    const graphene_point_t origin = {static_cast<float>(plane.x), static_cast<float>(plane.y)};
    GskTransform* transform = gsk_transform_translate(nullptr, &origin);
    if (plane.degrees != 0) {
        transform = gsk_transform_rotate(transform, static_cast<float>(plane.degrees));
    }
    if (plane.shearDegrees != 0) {
        transform = gsk_transform_skew(transform, static_cast<float>(plane.shearDegrees), 0);
    }
    if (plane.scaleX != 1 || plane.scaleY != 1) {
        transform = gsk_transform_scale(transform, static_cast<float>(plane.scaleX),
                                        static_cast<float>(plane.scaleY));
    }
    return transform;
}

/// Column vectors, column by column, lie in memory as row vectors, row by row.
GskTransform* transformOf(const glm::dmat4& matrix) {
    std::array<float, 16> values;
    std::copy_n(glm::value_ptr(matrix), values.size(), values.begin());
    graphene_matrix_t transform;
    graphene_matrix_init_from_float(&transform, values.data());
    return gsk_transform_matrix(nullptr, &transform);
}

/// How far the corners of a widget may be off, in points, before it is drawn in space.
constexpr double kTolerance = 0.05;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Marks widgets that are turned out of the plane of their window.
GQuark turnedQuark() {
    static const GQuark quark = g_quark_from_static_string("mivora-turned");
    return quark;
}

/// Whether the widget's window is drawn by the renderer that draws in memory. That one fills the
/// place of what is seen in perspective with a glaring colour.
bool isDrawnInMemory(GtkWidget* widget) {
    GtkNative* const native = gtk_widget_get_native(widget);
    GskRenderer* const renderer = native != nullptr ? gtk_native_get_renderer(native) : nullptr;
    return renderer != nullptr && GSK_IS_CAIRO_RENDERER(renderer);
}

}  // namespace

GtkEmbedding::GtkEmbedding(GtkWidget* parent) : parent_(parent) {}

GtkEmbedding::~GtkEmbedding() {
    update(nullptr);
    if (turning_ != nullptr) {
        g_signal_handlers_disconnect_by_data(parent_, this);
        dropTurning();
    }
}

void GtkEmbedding::update(const View* root) {
    std::vector<std::shared_ptr<GtkWidgetView>> found;
    if (root != nullptr) {
        collect(*root, found);
    }
    const auto isHere = [this](const auto& view) {
        return gtk_widget_get_parent(view->widget()) == parent_;
    };
    if (found == children_ && std::all_of(found.begin(), found.end(), isHere)) {
        return;
    }
    // What a widget does about it may lead here again: then that has settled it.
    const std::vector<std::shared_ptr<GtkWidgetView>> before = std::exchange(children_, found);
    for (const auto& view : before) {
        if (std::find(children_.begin(), children_.end(), view) == children_.end() &&
            isHere(view)) {
            gtk_widget_unparent(view->widget());
        }
    }
    for (const auto& view : found) {
        if (children_ != found) {
            return;
        }
        if (isHere(view) || gtk_widget_get_parent(view->widget()) == nullptr) {
            gtk_widget_insert_before(view->widget(), parent_, nullptr);
        }
    }
}

/// @return why a widget cannot be shown in the parent; null if it can
const char* GtkEmbedding::refusal(GtkWidget* widget) const {
    GtkWidget* const parent = gtk_widget_get_parent(widget);
    if (GTK_IS_ROOT(widget)) {
        return "a window is not shown in a view";
    }
    if (widget == parent_ || gtk_widget_is_ancestor(parent_, widget) != FALSE) {
        return "a widget is not shown in a view that is in it";
    }
    return parent == nullptr || parent == parent_
               ? nullptr
               : "a widget that is in another one is not shown in a view";
}

void GtkEmbedding::collect(const View& view,
                           std::vector<std::shared_ptr<GtkWidgetView>>& found) const {
    for (const std::shared_ptr<View>& below : view.subviews()) {
        if (auto widgetView = std::dynamic_pointer_cast<GtkWidgetView>(below)) {
            const char* const refused = refusal(widgetView->widget());
            widgetView->setRefusal(refused);
            if (refused == nullptr) {
                found.push_back(std::move(widgetView));
            }
        }
        collect(*below, found);
    }
}

void GtkEmbedding::place(const View& root, double height) const {
    // The root's own origin may be moved, too: what is seen of it begins there.
    placeBelow(root, translation(-root.bounds().x, -root.bounds().y), false, height);
}

void GtkEmbedding::placeBelow(const View& view, const glm::dmat4& toRoot, bool hidden,
                              double height) const {
    const glm::dmat4 through = toRoot * sublayerTransform(view);
    // A copy: what a widget does about its place may change the views.
    const std::vector<std::shared_ptr<View>> subviews = view.subviews();
    for (const std::shared_ptr<View>& below : subviews) {
        const glm::dmat4 belowToRoot = through * toSuperview(*below);
        const bool isBelowHidden = hidden || below->isHidden();
        if (const auto* widgetView = dynamic_cast<const GtkWidgetView*>(below.get())) {
            placeWidget(*widgetView, belowToRoot, isBelowHidden, height);
        }
        placeBelow(*below, belowToRoot, isBelowHidden, height);
    }
}

void GtkEmbedding::placeWidget(const GtkWidgetView& view, const glm::dmat4& toRoot, bool hidden,
                               double height) const {
    GtkWidget* const widget = view.widget();
    if (gtk_widget_get_parent(widget) != parent_) {
        return;
    }
    const Rect bounds = view.bounds();
    const glm::dmat4 matrix =
        flip(height) * toRoot * translation(bounds.x, bounds.y) * flip(bounds.height);
    const bool canBeShown = !hidden && bounds.width > 0 && bounds.height > 0 && isFinite(matrix);
    const auto planeWithin = [&](double tolerance) {
        return PlaneTransform::of(matrix, bounds.width, bounds.height, tolerance);
    };
    std::optional<PlaneTransform> plane = canBeShown ? planeWithin(kTolerance) : std::nullopt;
    const bool isTurned = canBeShown && !plane;
    if (isTurned && isDrawnInMemory(parent_) && turning() == nullptr) {
        plane = planeWithin(kInfinity);
    }
    const bool isShown = canBeShown && (!plane || plane->isSeen());
    gtk_widget_set_child_visible(widget, isShown ? TRUE : FALSE);
    if (!isShown || gtk_widget_should_layout(widget) == FALSE) {
        return;
    }
    int minimumWidth = 0;
    gtk_widget_measure(widget, GTK_ORIENTATION_HORIZONTAL, -1, &minimumWidth, nullptr, nullptr,
                       nullptr);
    const int width = std::max(minimumWidth, static_cast<int>(std::lround(bounds.width)));
    int minimumHeight = 0;
    gtk_widget_measure(widget, GTK_ORIENTATION_VERTICAL, width, &minimumHeight, nullptr, nullptr,
                       nullptr);
    const int lines = std::max(minimumHeight, static_cast<int>(std::lround(bounds.height)));
    if (gtk_widget_get_parent(widget) == parent_) {
        g_object_set_qdata(G_OBJECT(widget), turnedQuark(), isTurned ? widget : nullptr);
        gtk_widget_allocate(widget, width, lines, -1,
                            plane ? transformOf(*plane) : transformOf(matrix));
    }
}

void GtkEmbedding::snapshot(GtkSnapshot* snapshot) const {
    const std::vector<std::shared_ptr<GtkWidgetView>> children = children_;
    for (const auto& view : children) {
        if (gtk_widget_get_parent(view->widget()) == parent_) {
            snapshotChild(view->widget(), snapshot);
        }
    }
}

/// Where the toolkit draws in memory, a widget that is turned out of the plane is drawn by a
/// renderer of its own, into a texture.
void GtkEmbedding::snapshotChild(GtkWidget* widget, GtkSnapshot* snapshot) const {
    const bool isTurned = g_object_get_qdata(G_OBJECT(widget), turnedQuark()) != nullptr;
    GskRenderer* const turning = isTurned && isDrawnInMemory(parent_) ? this->turning() : nullptr;
    if (turning == nullptr) {
        gtk_widget_snapshot_child(parent_, widget, snapshot);
        return;
    }
    const auto scale = static_cast<float>(gtk_widget_get_scale_factor(parent_));
    GtkSnapshot* const apart = gtk_snapshot_new();
    gtk_snapshot_scale(apart, scale, scale);
    gtk_widget_snapshot_child(parent_, widget, apart);
    GskRenderNode* const node = gtk_snapshot_free_to_node(apart);
    if (node == nullptr) {
        return;
    }
    graphene_rect_t bounds;
    gsk_render_node_get_bounds(node, &bounds);
    const graphene_rect_t all = {{0, 0},
                                 {static_cast<float>(gtk_widget_get_width(parent_)) * scale,
                                  static_cast<float>(gtk_widget_get_height(parent_)) * scale}};
    graphene_rect_t seen;
    graphene_rect_round_extents(&bounds, &bounds);
    if (graphene_rect_intersection(&bounds, &all, &seen)) {
        g_autoptr(GdkTexture) texture = gsk_renderer_render_texture(turning, node, &seen);
        graphene_rect_scale(&seen, 1 / scale, 1 / scale, &seen);
        gtk_snapshot_append_texture(snapshot, texture, &seen);
    }
    gsk_render_node_unref(node);
}

/// Made when it is first wanted; goes with the window's surface. Null where there is no GL.
GskRenderer* GtkEmbedding::turning() const {
    if (turning_ == nullptr) {
        GskRenderer* const renderer = gsk_gl_renderer_new();
        GdkSurface* const surface = gtk_native_get_surface(gtk_widget_get_native(parent_));
        if (gsk_renderer_realize(renderer, surface, nullptr) == FALSE) {
            g_object_unref(renderer);
            return nullptr;
        }
        turning_ = renderer;
        g_signal_connect(parent_, "unrealize", G_CALLBACK(+[](GtkWidget* parent, gpointer self) {
                             g_signal_handlers_disconnect_by_data(parent, self);
                             static_cast<GtkEmbedding*>(self)->dropTurning();
                         }),
                         const_cast<GtkEmbedding*>(this));
    }
    return turning_;
}

void GtkEmbedding::dropTurning() {
    gsk_renderer_unrealize(turning_);
    g_clear_object(&turning_);
}

}  // namespace Mivora::platform
