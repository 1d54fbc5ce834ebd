#include "base/TextFit.h"

#include <algorithm>

namespace textfit {
namespace {

constexpr std::string_view kEllipsis = "\xe2\x80\xa6"; // U+2026
// How often FitTexts halves the room of every text, and the least it leaves.
constexpr int kMaxRefits = 4;
constexpr int kMinBound = 40;
// The beginning of a line too wide for the screen that stays readable.
constexpr gint kEllipsizedChars = 50;

struct Bounds {
    int width;
    int height;
};

Bounds ScreenBounds(GtkWidget* widget)
{
    GdkScreen* screen = gtk_widget_get_screen(widget);
    return {screen != nullptr ? gdk_screen_get_width(screen) : 1024,
            screen != nullptr ? gdk_screen_get_height(screen) : 768};
}

// A label may take most of the screen's width and half its height, so that
// the rest of its window still fits.
Bounds LabelBounds(GtkWidget* widget)
{
    const Bounds screen = ScreenBounds(widget);
    return {std::max(screen.width - 100, 200), std::max(screen.height / 2, 100)};
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

void FitLabelWithin(GtkLabel* label, const Bounds& bounds);

// `data` is the Bounds each label and drop-down must keep within.
void FitTree(GtkWidget* widget, gpointer data)
{
    const Bounds& bounds = *static_cast<const Bounds*>(data);
    if (GTK_IS_LABEL(widget))
        FitLabelWithin(GTK_LABEL(widget), bounds);
    else if (GTK_IS_COMBO_BOX(widget))
        FitCombo(GTK_COMBO_BOX(widget), bounds);
    if (GTK_IS_CONTAINER(widget))
        gtk_container_forall(GTK_CONTAINER(widget), FitTree, data);
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
    FitLabelWithin(label, LabelBounds(GTK_WIDGET(label)));
}

namespace {

void FitLabelWithin(GtkLabel* label, const Bounds& bounds)
{
    if (gtk_label_get_use_markup(label))
        return; // our own texts only
    GtkWidget* widget = GTK_WIDGET(label);
    const std::string text = gtk_label_get_text(label);
    std::string shown = Shortened(text);
    if (shown.size() != text.size())
        gtk_label_set_text(label, shown.c_str());
    if (Fits(widget, bounds))
        return;
    if (!gtk_label_get_line_wrap(label)) {
        gtk_label_set_ellipsize(label, PANGO_ELLIPSIZE_END);
        // An ellipsized label asks only for room for the ellipsis: a window
        // no wider than its other contents would show nothing of the text.
        for (gint chars = kEllipsizedChars; chars > 0; chars /= 2) {
            gtk_label_set_width_chars(label, chars);
            if (Requested(widget).width <= bounds.width)
                break;
        }
    }
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

// Whether what `root` holds fits `bounds`: a window's own size request
// hides what its contents ask for, so a window is measured by its child.
bool ContentFits(GtkWidget* root, const Bounds& bounds)
{
    GtkWidget* child = GTK_IS_BIN(root) ? gtk_bin_get_child(GTK_BIN(root)) : nullptr;
    if (child == nullptr)
        return Fits(root, bounds);
    const int border = 2 * static_cast<int>(gtk_container_get_border_width(GTK_CONTAINER(root)));
    return Fits(child, {bounds.width - border, bounds.height - border});
}

} // namespace

void FitTexts(GtkWidget* root)
{
    if (root == nullptr)
        return;
    Bounds bounds = LabelBounds(root);
    FitTree(root, &bounds);
    // Several long texts may still add up to more than the screen: each gets
    // half the room until the window fits.
    const Bounds screen = ScreenBounds(root);
    for (int round = 0; round < kMaxRefits && !ContentFits(root, screen); ++round) {
        bounds = {std::max(bounds.width / 2, kMinBound), std::max(bounds.height / 2, kMinBound)};
        FitTree(root, &bounds);
    }
}

} // namespace textfit
