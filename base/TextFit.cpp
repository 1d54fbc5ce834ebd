#include "base/TextFit.h"

#include <algorithm>

namespace textfit {
namespace {

constexpr std::string_view kEllipsis = "\xe2\x80\xa6"; // U+2026

struct Bounds {
    int width;
    int height;
};

// A label may take most of the screen's width and half its height, so that
// the rest of its window still fits.
Bounds LabelBounds(GtkWidget* widget)
{
    GdkScreen* screen = gtk_widget_get_screen(widget);
    const int width = screen != nullptr ? gdk_screen_get_width(screen) : 1024;
    const int height = screen != nullptr ? gdk_screen_get_height(screen) : 768;
    return {std::max(width - 100, 200), std::max(height / 2, 100)};
}

GtkRequisition Requested(GtkWidget* widget)
{
    GtkRequisition requisition{};
    gtk_widget_size_request(widget, &requisition);
    return requisition;
}

bool Fits(GtkWidget* widget, const Bounds& bounds)
{
    const GtkRequisition requisition = Requested(widget);
    return requisition.width <= bounds.width && requisition.height <= bounds.height;
}

void FitCombo(GtkComboBox* combo, const Bounds& bounds)
{
    if (Requested(GTK_WIDGET(combo)).width <= bounds.width)
        return;
    GList* cells = gtk_cell_layout_get_cells(GTK_CELL_LAYOUT(combo));
    for (GList* cell = cells; cell != nullptr; cell = cell->next) {
        if (GTK_IS_CELL_RENDERER_TEXT(cell->data))
            g_object_set(cell->data, "ellipsize", PANGO_ELLIPSIZE_END, "width-chars", 30, nullptr);
    }
    g_list_free(cells);
}

void FitTree(GtkWidget* widget, gpointer)
{
    if (GTK_IS_LABEL(widget))
        FitLabel(GTK_LABEL(widget));
    else if (GTK_IS_COMBO_BOX(widget))
        FitCombo(GTK_COMBO_BOX(widget), LabelBounds(widget));
    if (GTK_IS_CONTAINER(widget))
        gtk_container_forall(GTK_CONTAINER(widget), FitTree, nullptr);
}

} // namespace

std::string Shortened(std::string_view text, std::size_t maxChars, std::size_t maxLines)
{
    std::size_t at = 0, chars = 0, lines = 1;
    while (at < text.size()) {
        if (chars == maxChars || (text[at] == '\n' && lines == maxLines))
            return std::string(text.substr(0, at)).append(kEllipsis);
        if (text[at] == '\n')
            ++lines;
        // The next character: a lead byte and its continuation bytes.
        ++at;
        while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80)
            ++at;
        ++chars;
    }
    return std::string(text);
}

void FitLabel(GtkLabel* label)
{
    if (gtk_label_get_use_markup(label))
        return; // our own texts only
    GtkWidget* widget = GTK_WIDGET(label);
    const std::string text = gtk_label_get_text(label);
    std::string shown = Shortened(text);
    if (shown.size() != text.size())
        gtk_label_set_text(label, shown.c_str());
    const Bounds bounds = LabelBounds(widget);
    if (Fits(widget, bounds))
        return;
    if (!gtk_label_get_line_wrap(label))
        gtk_label_set_ellipsize(label, PANGO_ELLIPSIZE_END);
    if (Fits(widget, bounds))
        return;
    // Still too tall: the longest beginning of the text that fits.
    const std::size_t total = static_cast<std::size_t>(g_utf8_strlen(shown.data(), static_cast<gssize>(shown.size())));
    std::size_t fits = 0, tooLong = total;
    while (tooLong - fits > 1) {
        const std::size_t middle = fits + (tooLong - fits) / 2;
        gtk_label_set_text(label, Shortened(text, middle).c_str());
        (Fits(widget, bounds) ? fits : tooLong) = middle;
    }
    gtk_label_set_text(label, Shortened(text, fits).c_str());
}

void FitTexts(GtkWidget* root)
{
    if (root != nullptr)
        FitTree(root, nullptr);
}

} // namespace textfit
