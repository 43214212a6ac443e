// A text view beside a label of the toolkit, with the same words in the same font, for the script
// beside it. To the left the label, to the right the view; both 230 x 150 points, black on white.
#include <gtk/gtk.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <string>

#include "MivoraMac/MivoraMac.h"
#include "MivoraMac/platform/gtk/GtkRenderView.h"
#include "tests/host/CommandLines.h"

using Mivora::platform::AttributedStringBuilder;
using Mivora::platform::TextAttributes;
using Mivora::platform::TextColor;
using Mivora::platform::TextFont;

namespace {

constexpr int kWidth = 230;
constexpr int kHeight = 150;
constexpr float kMargin = 8;

struct Line {
    int size;  ///< in points
    const char* text;
};

constexpr Line kLines[] = {
    {10, "Ten points: the quick brown fox\n"},
    {13, "Thirteen: Hamburgefonstiv 0123\n"},
    {16, "Sixteen: jumps over it\n"},
    {24, "Large: Ågö fi"},
};

GtkWidget* makeLabel() {
    std::string markup;
    for (const Line& line : kLines) {
        markup += "<span font_desc='DejaVu Sans " + std::to_string(line.size) +
                  "px' color='black'>" + line.text + "</span>";
    }
    GtkWidget* const label = gtk_label_new(nullptr);
    gtk_label_set_markup(GTK_LABEL(label), markup.c_str());
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_yalign(GTK_LABEL(label), 0);
    gtk_widget_set_size_request(label, kWidth, kHeight);
    GtkCssProvider* const style = gtk_css_provider_new();
    gtk_css_provider_load_from_data(
        style, "window { background: white; } label { padding: 8px; background: white; }", -1);
    gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(style),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(style);
    return label;
}

void addText(MVWindow& window) {
    auto paper = MVColorView::init();
    paper->setSize({kWidth, kHeight});
    window.addSubview(paper);
    AttributedStringBuilder builder;
    for (const Line& line : kLines) {
        builder.append(
            line.text,
            TextAttributes{
                TextFont{"DejaVu Sans", static_cast<float>(line.size)}, TextColor{0, 0, 0, 1}, {}});
    }
    auto view = MVTextView::init();
    view->setText(builder.build());
    view->setPosition({kMargin, kMargin});
    view->setSize({kWidth - 2 * kMargin, kHeight - 2 * kMargin});
    window.addSubview(view);
}

}  // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    gtk_init();
    auto application = MVApplication::init();
    addText(*application->window());
    GtkWidget* const window = gtk_window_new();
    gtk_window_set_decorated(GTK_WINDOW(window), FALSE);
    GtkWidget* const box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_window_set_child(GTK_WINDOW(window), box);
    gtk_box_append(GTK_BOX(box), makeLabel());
    GtkWidget* const widget = GtkWidgetForView(application->renderView());
    gtk_widget_set_size_request(widget, kWidth, kHeight);
    gtk_box_append(GTK_BOX(box), widget);
    gtk_window_present(GTK_WINDOW(window));
    application->setActive(true);
    std::puts("shown");
    Mivora::tests::obeyLines([](const std::string&, std::istringstream&) {});
    application->setActive(false);
    gtk_window_destroy(GTK_WINDOW(window));
    application.reset();
    Mivora::tests::endProgram();
}
