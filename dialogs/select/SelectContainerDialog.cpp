#include "dialogs/select/SelectContainerDialog.h"

#include <cstdio>
#include <string>

#include "app/xvtui_exception.h"
#include "base/Accessible.h"
#include "base/Callback.h"

namespace {

using xvtui::protocol::CopyClipped;
using xvtui::protocol::FieldText;

// Catalogue texts.
constexpr unsigned kSelectLabelId = 2027;
constexpr unsigned kPrimaryTitleId = 2025;
constexpr unsigned kFriendlyNameId = 2003;
constexpr unsigned kUniqueNameId = 2020;
constexpr unsigned kShowByLabelId = 2098;

// Model (and view) columns.
enum : gint { kPrimaryColumn, kFriendlyColumn, kUniqueColumn, kColumnCount };

constexpr gint kWindowSize = 450;
constexpr gint kListSize = 400;
constexpr gint kListBoxSpacing = 3;
constexpr guint kListPadding = 1;
constexpr guint kListBoxPadding = 10;
constexpr gint kRadioSpacing = 10;

void cbOnFriendlyNamePressed(GtkToggleButton*, gpointer data)
{
    callback::Forward<SelectContainerDialog>("cbOnFriendlyNamePressed", data, [](SelectContainerDialog& dialog) {
        dialog.OnContainerTypeChanged(true, false);
    });
}

void cbOnUniquePressed(GtkToggleButton*, gpointer data)
{
    callback::Forward<SelectContainerDialog>("cbOnUniquePressed", data, [](SelectContainerDialog& dialog) {
        dialog.OnContainerTypeChanged(false, true);
    });
}

void cbOnOKClicked(GtkWidget*, gpointer data)
{
    callback::Forward<SelectContainerDialog>("cbOnOKClicked", data, &SelectContainerDialog::OnOKClicked);
}

// Enter on a row, or a double click, chooses it as OK would: the tree view
// keeps Enter to itself, so the default button never sees it.
void cbOnRowActivated(GtkTreeView*, GtkTreePath*, GtkTreeViewColumn*, gpointer data)
{
    callback::Forward<SelectContainerDialog>("cbOnRowActivated", data, &SelectContainerDialog::OnOKClicked);
}

void cbOnCellData(GtkTreeViewColumn* column, GtkCellRenderer* renderer, GtkTreeModel* model, GtkTreeIter* iter,
                  gpointer data)
{
    callback::Forward<SelectContainerDialog>("cbOnCellData", data,
                                             [=](SelectContainerDialog& dialog) {
                                                 dialog.OnCellData(column, renderer, model, iter);
                                             });
}

GtkWidget* AddLabel(GtkWidget* box, const std::string& text)
{
    GtkWidget* label = gtk_label_new(text.c_str());
    gtk_misc_set_alignment(GTK_MISC(label), 0, 0);
    gtk_box_pack_start(GTK_BOX(box), label, FALSE, FALSE, 0);
    return label;
}

bool IsUtf8(std::string_view text)
{
    return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != FALSE;
}

} // namespace

SelectContainerDialog::SelectContainerDialog(const xvtui::protocol::Pipe& pipe)
    : BaseDialog(DialogKind::Container, "choice_time", "choice_show_time", "choice_resume_time"), m_pipe(pipe)
{
    const xvtui::protocol::Pipe input = WatchedInput(m_pipe);
    m_items = xvtui::protocol::ReadSelectItems(input);
    RaiseIfGaveUp(input, "SelectContainerDialog");
    SelectContainerGtkInit();
}

SelectContainerDialog::~SelectContainerDialog() = default;

void SelectContainerDialog::SelectContainerGtkInit()
{
    AddContainersList();
    AddContTypesRadioButtons();
    gtk_box_pack_start(GTK_BOX(m_mainBox), m_buttonAlignment, FALSE, FALSE, 0);
    gtk_widget_set_size_request(m_window, kWindowSize, kWindowSize);
    g_signal_connect(m_okButton, "clicked", G_CALLBACK(cbOnOKClicked), this);
}

void SelectContainerDialog::AddContainersList()
{
    const std::string header = Displayable(m_localizer->Localize(kSelectLabelId));
    GtkWidget* caption = AddLabel(m_mainBox, header);
    accessible::DescribeWindow(m_window, header);

    m_treeView = gtk_tree_view_new();
    gtk_widget_set_name(m_treeView, "xvtui-containers");
    GtkCellRenderer* renderer = gtk_cell_renderer_text_new();
    const unsigned titles[kColumnCount] = {kPrimaryTitleId, kFriendlyNameId, kUniqueNameId};
    for (gint i = 0; i < kColumnCount; ++i) {
        const std::string title = Displayable(m_localizer->Localize(titles[i]));
        gtk_tree_view_insert_column_with_attributes(GTK_TREE_VIEW(m_treeView), -1, title.c_str(), renderer, "text",
                                                    i, nullptr);
    }

    // Filled before the view sees it, so that no row is announced to the view
    // one by one.
    GtkListStore* store = gtk_list_store_new(kColumnCount, G_TYPE_STRING, G_TYPE_STRING, G_TYPE_STRING);
    bool repair[kColumnCount] = {};
    for (const VTUISelectItem_& item : m_items) {
        const std::string primary(FieldText(item.primary_name));
        const std::string friendly = CSPLocalizer::ToUTF8(std::string(FieldText(item.friendly_name)), 0);
        const std::string unique(FieldText(item.unique_name));
        repair[kPrimaryColumn] = repair[kPrimaryColumn] || !IsUtf8(primary);
        repair[kUniqueColumn] = repair[kUniqueColumn] || !IsUtf8(unique);
        gtk_list_store_insert_with_values(store, nullptr, -1, kPrimaryColumn, primary.c_str(), kFriendlyColumn,
                                          friendly.c_str(), kUniqueColumn, unique.c_str(), -1);
    }
    for (gint i = 0; i < kColumnCount; ++i) {
        GtkTreeViewColumn* column = gtk_tree_view_get_column(GTK_TREE_VIEW(m_treeView), i);
        gtk_tree_view_column_set_sort_column_id(column, i);
        // The model keeps the bytes the parent sent; only the text on screen
        // is repaired, and only in a column that needs it.
        if (repair[i])
            gtk_tree_view_column_set_cell_data_func(column, renderer, cbOnCellData, this, nullptr);
    }
    gtk_tree_view_set_model(GTK_TREE_VIEW(m_treeView), GTK_TREE_MODEL(store));
    accessible::TieCaption(caption, m_treeView); // the column titles name the table's columns
    g_object_unref(store);

    g_signal_connect(m_treeView, "row-activated", G_CALLBACK(cbOnRowActivated), this);
    gtk_tree_selection_set_mode(gtk_tree_view_get_selection(GTK_TREE_VIEW(m_treeView)), GTK_SELECTION_BROWSE);
    gtk_tree_view_column_set_visible(gtk_tree_view_get_column(GTK_TREE_VIEW(m_treeView), kUniqueColumn), FALSE);

    GtkWidget* scrolled = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_scrolled_window_add_with_viewport(GTK_SCROLLED_WINDOW(scrolled), m_treeView);
    // A viewport scrolls by moving its child, so the view would be as tall as
    // all its rows: every row measured before the window appears, and past
    // 32767 pixels (about 1,400 rows) taller than an X window may be. The
    // viewport therefore keeps still adjustments of its own, the view fills
    // it and scrolls itself with the scroll bars' adjustments, measuring only
    // the rows it shows, with its headers in place and the cursor kept in view.
    GtkScrolledWindow* bars = GTK_SCROLLED_WINDOW(scrolled);
    GtkViewport* viewport = GTK_VIEWPORT(gtk_widget_get_parent(m_treeView));
    gtk_viewport_set_hadjustment(viewport, GTK_ADJUSTMENT(gtk_adjustment_new(0, 0, 0, 0, 0, 0)));
    gtk_viewport_set_vadjustment(viewport, GTK_ADJUSTMENT(gtk_adjustment_new(0, 0, 0, 0, 0, 0)));
    gtk_widget_set_scroll_adjustments(m_treeView, gtk_scrolled_window_get_hadjustment(bars),
                                      gtk_scrolled_window_get_vadjustment(bars));
    gtk_widget_set_size_request(m_treeView, 1, 1);
    GtkWidget* listBox = gtk_vbox_new(FALSE, kListBoxSpacing);
    gtk_box_pack_start(GTK_BOX(listBox), scrolled, TRUE, TRUE, kListPadding);
    gtk_widget_set_size_request(listBox, kListSize, kListSize);
    gtk_box_pack_start(GTK_BOX(m_mainBox), listBox, TRUE, TRUE, kListBoxPadding);
}

void SelectContainerDialog::AddContTypesRadioButtons()
{
    GtkWidget* caption = AddLabel(m_mainBox, Displayable(m_localizer->Localize(kShowByLabelId)));

    const std::string friendly = Displayable(m_localizer->Localize(kFriendlyNameId));
    m_friendlyRadio = gtk_radio_button_new_with_label(nullptr, friendly.c_str());
    gtk_widget_set_name(m_friendlyRadio, "xvtui-friendly-radio");
    g_signal_connect(m_friendlyRadio, "toggled", G_CALLBACK(cbOnFriendlyNamePressed), this);

    const std::string unique = Displayable(m_localizer->Localize(kUniqueNameId));
    m_uniqueRadio = gtk_radio_button_new_with_label_from_widget(GTK_RADIO_BUTTON(m_friendlyRadio), unique.c_str());
    gtk_widget_set_name(m_uniqueRadio, "xvtui-unique-radio");
    g_signal_connect(m_uniqueRadio, "toggled", G_CALLBACK(cbOnUniquePressed), this);

    GtkWidget* radioBox = gtk_hbox_new(FALSE, kRadioSpacing);
    gtk_box_pack_start(GTK_BOX(radioBox), m_friendlyRadio, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(radioBox), m_uniqueRadio, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(m_mainBox), radioBox, FALSE, FALSE, 0);
    accessible::TieCaption(caption, radioBox); // the group; each button keeps its own label

    AddLabel(m_mainBox, "\n"); // space above the OK/Cancel row
}

// Switching the choice emits "toggled" on the button going off, then on the
// one coming on: the last call, and with it the column shown, always matches
// the active button, so neither handler looks at its button's state.
void SelectContainerDialog::OnContainerTypeChanged(bool showFriendly, bool showUnique)
{
    if (m_treeView == nullptr)
        return;
    GtkTreeView* view = GTK_TREE_VIEW(m_treeView);
    gtk_tree_view_column_set_visible(gtk_tree_view_get_column(view, kFriendlyColumn), showFriendly ? TRUE : FALSE);
    gtk_tree_view_column_set_visible(gtk_tree_view_get_column(view, kUniqueColumn), showUnique ? TRUE : FALSE);
}

void SelectContainerDialog::OnCellData(GtkTreeViewColumn* column, GtkCellRenderer* renderer, GtkTreeModel* model,
                                       GtkTreeIter* iter)
{
    gchar* text = nullptr;
    gtk_tree_model_get(model, iter, gtk_tree_view_column_get_sort_column_id(column), &text, -1);
    const std::string shown = Displayable(text != nullptr ? text : "");
    g_free(text);
    g_object_set(renderer, "text", shown.c_str(), nullptr);
}

void SelectContainerDialog::OnOKClicked()
{
    GtkTreeModel* model = nullptr;
    GtkTreeIter iter;
    if (m_treeView == nullptr ||
        !gtk_tree_selection_get_selected(gtk_tree_view_get_selection(GTK_TREE_VIEW(m_treeView)), &model, &iter)) {
        TerminateDialog(ResultCode::Answered);
        return;
    }
    gchar* primary = nullptr;
    gchar* friendly = nullptr;
    gtk_tree_model_get(model, &iter, kPrimaryColumn, &primary, kFriendlyColumn, &friendly, -1);
    const bool complete = primary != nullptr && friendly != nullptr;
    if (complete) {
        CopyClipped(m_resultItem.primary_name, primary);
        CopyClipped(m_resultItem.friendly_name, friendly);
    }
    g_free(primary);
    g_free(friendly);
    TerminateDialog(complete ? ResultCode::Answered : ResultCode::Failed);
}

void SelectContainerDialog::PrintResultToPipe() const
{
    std::fflush(stdout); // anything buffered goes first
    // Whole, under the parent watch, or the run fails with 109.
    if (!xvtui::protocol::WriteSelectItem(WatchedPipe(m_pipe, WaitLimit()), m_resultItem))
        throw xvtui_exception(ResultCode::BrokenPipe, "PrintResultToPipe", "broken pipe");
}
