#pragma once

#include <gtk/gtk.h>

#include <glm/mat4x4.hpp>
#include <memory>
#include <vector>

namespace Mivora::platform {

class GtkWidgetView;
class View;

/// The widgets among the native views below one view, as children of the widget that shows it.
///
/// Thread: main.
class GtkEmbedding {
 public:
    /// @param parent  outlives this
    explicit GtkEmbedding(GtkWidget* parent);
    ~GtkEmbedding();
    GtkEmbedding(const GtkEmbedding&) = delete;
    GtkEmbedding& operator=(const GtkEmbedding&) = delete;

    /// Makes the widgets below `root` the children, back to front. Null for none.
    void update(const View* root);

    /// Gives every child its place.
    /// @param root    what `update` was last called with
    /// @param height  of the parent, in points
    void place(const View& root, double height) const;

    void snapshot(GtkSnapshot* snapshot) const;

 private:
    const char* refusal(GtkWidget* widget) const;
    void collect(const View& view, std::vector<std::shared_ptr<GtkWidgetView>>& found) const;
    void placeBelow(const View& view, const glm::dmat4& toRoot, bool hidden, double height) const;
    void placeWidget(const GtkWidgetView& view, const glm::dmat4& toRoot, bool hidden,
                     double height) const;

    void snapshotChild(GtkWidget* widget, GtkSnapshot* snapshot) const;
    GskRenderer* turning() const;
    void dropTurning();

    GtkWidget* parent_;
    mutable GskRenderer* turning_ = nullptr;
    std::vector<std::shared_ptr<GtkWidgetView>> children_;  // back to front
};

}  // namespace Mivora::platform
