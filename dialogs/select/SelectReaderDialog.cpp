#include "dialogs/select/SelectReaderDialog.h"

#include "app/xvtui_exception.h"
#include "base/Accessible.h"
#include "base/Callback.h"
#include "base/TextFit.h"
#include "l10n/Cp1251.h"
#include "l10n/VtuiLogic.h"

#include <gdk/gdkkeysyms.h>

LocalizedText SelectReaderDialog::m_selectReaderTerm{"Select reader to create container",
                                                     CP1251_TEXT("Выберите считыватель для создания контейнера")};
LocalizedText SelectReaderDialog::m_appletTypeTerm{"Applet type:", CP1251_TEXT("Вид приложения:")};
LocalizedText SelectReaderDialog::m_descriptionTerm{"Description:", CP1251_TEXT("Описание:")};
const std::string SelectReaderDialog::m_readerDataKey = "READER_DATA_KEY";

namespace {

constexpr int kPromptMargin = 30;        // the prompt is this much narrower than the window
constexpr int kEmptyWindowHeight = 140;  // the window without readers: the prompt and the buttons
constexpr int kDescriptionHeight = 70;   // the description's scrolled view
constexpr guint kListPadding = 10;

// "Unexpected error in callback function": a list item without a usable index.
[[noreturn]] void ThrowUnexpected()
{
    throw xvtui_exception(ResultCode::BadArgs, "cbOnReaderChanged", "Unexpected error in callback function");
}

void cbOnReaderChanged(GtkItem* item, gpointer data)
{
    callback::Forward<SelectReaderDialog>("cbOnReaderChanged", data, [item](SelectReaderDialog& dialog) {
        const auto* text = item != nullptr
                               ? static_cast<const char*>(g_object_get_data(G_OBJECT(item), dialog.GetReaderKey().c_str()))
                               : nullptr;
        int index = 0;
        if (text == nullptr || !BaseDialog::StringToInt(text, index))
            ThrowUnexpected();
        dialog.SetReaderIndex(static_cast<unsigned>(index));
        dialog.OnReaderChanged();
    });
}

// Keys pressed on a list item, before the window moves the focus.
gboolean cbOnKeyPressed(GtkWidget*, GdkEventKey* event, gpointer data)
{
    return callback::ForwardEvent<SelectReaderDialog>("cbOnKeyPressed", data, event,
                                                      &SelectReaderDialog::OnListKeyPressed);
}

void cbOnAppletChanged(GtkComboBox*, gpointer data)
{
    callback::Forward<SelectReaderDialog>("cbOnAppletChanged", data, &SelectReaderDialog::OnAppletChanged);
}

void cbOnOKClicked(GtkWidget*, gpointer data)
{
    callback::Forward<SelectReaderDialog>("cbOnOKClicked", data, &SelectReaderDialog::OnOKClicked);
}

} // namespace

SelectReaderDialog::SelectReaderDialog(int argc, char** argv, const xvtui::protocol::Pipe& pipe)
    : BaseDialog(DialogKind::Reader, "selcar_time", "selcar_show_time", "selcar_resume_time"), m_pipe(pipe)
{
    ParseArgs(argc, argv);
    SelectReaderTermsInit();
    SelectReaderGtkInit();
}

SelectReaderDialog::~SelectReaderDialog()
{
    // The base destroys a window that was never shown: the list then selects
    // other items as it empties, and nothing of this object must hear it.
    DisconnectHandlers();
}

void SelectReaderDialog::DisconnectHandlers()
{
    const auto disconnect = [this](gpointer instance) {
        g_signal_handlers_disconnect_matched(instance, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, this);
    };
    if (m_readersList != nullptr) {
        GList* items = gtk_container_get_children(GTK_CONTAINER(m_readersList));
        for (GList* item = items; item != nullptr; item = item->next)
            disconnect(item->data);
        g_list_free(items);
    }
    if (m_appletCombo != nullptr)
        disconnect(m_appletCombo);
    if (m_okButton != nullptr)
        disconnect(m_okButton);
}

void SelectReaderDialog::ParseArgs(int argc, char** argv)
{
    std::optional<xvtui::protocol::ReaderRequest> request = xvtui::protocol::ParseReaderRequest(argc, argv);
    if (!request)
        throw xvtui_exception(ResultCode::BadArgs, "ParseArgs", "Can not create SelectReaderDialog");
    m_prompt = std::move(request->prompt);
    m_readers = std::move(request->readers);
}

void SelectReaderDialog::SelectReaderTermsInit()
{
    m_localizer->Localize(m_selectReaderTerm);
    m_localizer->Localize(m_appletTypeTerm);
    m_localizer->Localize(m_descriptionTerm);
}

void SelectReaderDialog::SelectReaderGtkInit()
{
    // The provider's prompt as given: only bytes that are not UTF-8 are replaced.
    const std::string prompt = m_prompt.empty() ? m_selectReaderTerm.GetText() : Displayable(m_prompt);
    GtkWidget* promptLabel = gtk_label_new(prompt.c_str());
    gtk_widget_set_name(promptLabel, "xvtui-prompt");
    gtk_label_set_line_wrap(GTK_LABEL(promptLabel), TRUE);
    gtk_widget_set_size_request(promptLabel, static_cast<int>(m_windowWidth) - kPromptMargin, -1);
    gtk_misc_set_alignment(GTK_MISC(promptLabel), 0, 0);
    gtk_box_pack_start(GTK_BOX(m_mainBox), promptLabel, FALSE, FALSE, 0);
    accessible::DescribeWindow(m_window, prompt);

    if (!m_readers.empty()) {
        AddReadersListBox();
        accessible::TieCaption(promptLabel, m_readersList);
        AddAppletsWidgets();
        AddAppletTextBox();
    } else {
        gtk_widget_set_size_request(m_window, static_cast<int>(m_windowWidth), kEmptyWindowHeight);
        gtk_widget_set_sensitive(m_okButton, FALSE);
    }
    gtk_box_pack_start(GTK_BOX(m_mainBox), m_buttonAlignment, TRUE, TRUE, 0);
    g_signal_connect(m_okButton, "clicked", G_CALLBACK(cbOnOKClicked), this);
    gtk_window_set_focus(GTK_WINDOW(m_window), m_readers.empty() ? m_cancelButton : m_okButton);
}

void SelectReaderDialog::AddReadersListBox()
{
    m_readersList = gtk_list_new();
    // Cleared by GObject when the window's destruction takes the widget.
    g_object_add_weak_pointer(G_OBJECT(m_readersList), reinterpret_cast<gpointer*>(&m_readersList));
    gtk_widget_set_name(m_readersList, "xvtui-readers");
    gtk_list_set_selection_mode(GTK_LIST(m_readersList), GTK_SELECTION_BROWSE);
    for (size_t i = 0; i < m_readers.size(); ++i) {
        GtkWidget* item = gtk_list_item_new_with_label(Displayable(m_readers[i].name).c_str());
        m_readerIndexTexts.push_back(VtuiLogic::printf_to_string<int>("%d", static_cast<int>(i)));
        g_object_set_data(G_OBJECT(item), m_readerDataKey.c_str(),
                          const_cast<char*>(m_readerIndexTexts.back().c_str()));
        gtk_container_add(GTK_CONTAINER(m_readersList), item);
        // Connected after the item joined the list: the first item's
        // automatic selection is no change.
        g_signal_connect(item, "select", G_CALLBACK(cbOnReaderChanged), this);
        gtk_widget_show(item);
    }
    gtk_box_pack_start(GTK_BOX(m_mainBox), m_readersList, TRUE, TRUE, kListPadding);
    g_signal_connect(m_readersList, "key-press-event", G_CALLBACK(cbOnKeyPressed), this);
}

bool SelectReaderDialog::OnListKeyPressed(const GdkEventKey& key)
{
    // The list would hand the focus, and with it the selection, from item
    // to item on Tab: Tab leaves it instead, with the choice the arrow keys
    // made, for the next (or, backwards, the last) widget of the window.
    const bool forward = key.keyval == GDK_Tab || key.keyval == GDK_KP_Tab;
    if (!forward && key.keyval != GDK_ISO_Left_Tab)
        return false;
    // As Tab would enter them: the drop-down focuses its inner button.
    if (!forward)
        gtk_widget_grab_focus(m_cancelButton);
    else if (!gtk_widget_child_focus(m_appletCombo, GTK_DIR_TAB_FORWARD))
        gtk_widget_child_focus(m_descriptionView, GTK_DIR_TAB_FORWARD);
    return true;
}

void SelectReaderDialog::AddAppletsWidgets()
{
    GtkWidget* label = gtk_label_new(m_appletTypeTerm.c_str());
    gtk_misc_set_alignment(GTK_MISC(label), 0, 0);
    gtk_box_pack_start(GTK_BOX(m_mainBox), label, FALSE, FALSE, kListPadding);

    m_appletCombo = gtk_combo_box_new_text();
    g_object_add_weak_pointer(G_OBJECT(m_appletCombo), reinterpret_cast<gpointer*>(&m_appletCombo));
    gtk_widget_set_name(m_appletCombo, "xvtui-applets");
    for (const std::string& applet : m_readers[0].applets)
        gtk_combo_box_append_text(GTK_COMBO_BOX(m_appletCombo), Displayable(applet).c_str());
    gtk_widget_set_sensitive(m_appletCombo, m_readers[0].applets.size() >= 2);
    gtk_combo_box_set_active(GTK_COMBO_BOX(m_appletCombo), 0);
    gtk_box_pack_start(GTK_BOX(m_mainBox), m_appletCombo, FALSE, FALSE, 0);
    accessible::TieCaption(label, m_appletCombo);
}

void SelectReaderDialog::AddAppletTextBox()
{
    GtkWidget* label = gtk_label_new(m_descriptionTerm.c_str());
    gtk_misc_set_alignment(GTK_MISC(label), 0, 0);
    gtk_box_pack_start(GTK_BOX(m_mainBox), label, FALSE, FALSE, kListPadding);

    m_descriptionBuffer = gtk_text_buffer_new(nullptr);
    const std::string description = Displayable(DescriptionOf(0, 0));
    gtk_text_buffer_set_text(m_descriptionBuffer, description.c_str(), -1);
    GtkWidget* view = gtk_text_view_new_with_buffer(m_descriptionBuffer);
    m_descriptionView = view;
    g_object_unref(m_descriptionBuffer); // the view holds it from here on
    gtk_widget_set_name(view, "xvtui-description");
    gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(view), GTK_WRAP_WORD);
    gtk_text_view_set_editable(GTK_TEXT_VIEW(view), FALSE);

    GtkWidget* scrolled = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scrolled), GTK_POLICY_AUTOMATIC, GTK_POLICY_AUTOMATIC);
    gtk_widget_set_size_request(scrolled, -1, kDescriptionHeight);
    gtk_container_add(GTK_CONTAINER(scrolled), view);
    accessible::TieCaption(label, view);
    gtk_box_pack_start(GTK_BOX(m_mainBox), scrolled, FALSE, FALSE, 0);

    g_signal_connect(m_appletCombo, "changed", G_CALLBACK(cbOnAppletChanged), this);
}

void SelectReaderDialog::SetReaderIndex(unsigned index)
{
    m_prevReaderIndex = m_readerIndex;
    m_readerIndex = static_cast<std::int16_t>(index);
}

void SelectReaderDialog::OnReaderChanged()
{
    GtkComboBox* combo = GTK_COMBO_BOX(m_appletCombo);
    // The drop-down holds the previous reader's applet types. Each removal
    // (and the activation below) reports a change, which sets m_appletIndex.
    const SelectReaderItem* previous = Reader(m_prevReaderIndex);
    for (size_t i = 0; previous != nullptr && i < previous->applets.size(); ++i)
        gtk_combo_box_remove_text(combo, 0);
    const SelectReaderItem* current = Reader(m_readerIndex);
    const size_t count = current != nullptr ? current->applets.size() : 0;
    for (size_t i = 0; i < count; ++i)
        gtk_combo_box_append_text(combo, Displayable(current->applets[i]).c_str());
    // The new reader's applet types may be wider than the screen.
    textfit::FitTexts(m_appletCombo);
    gtk_widget_set_sensitive(m_appletCombo, count >= 2);
    gtk_combo_box_set_active(combo, 0);
    gtk_text_buffer_set_text(m_descriptionBuffer, Displayable(DescriptionOf(m_readerIndex, 0)).c_str(), -1);
    ResetTimeout();
}

void SelectReaderDialog::OnAppletChanged()
{
    // -1 while entries are removed: no applet type is active.
    const auto active = static_cast<std::int16_t>(gtk_combo_box_get_active(GTK_COMBO_BOX(m_appletCombo)));
    m_appletIndex = active == -1 ? 0 : active;
    gtk_text_buffer_set_text(m_descriptionBuffer, Displayable(DescriptionOf(m_readerIndex, m_appletIndex)).c_str(),
                             -1);
    ResetTimeout();
}

void SelectReaderDialog::OnOKClicked()
{
    // Destroying the window empties the list, which selects item after item
    // on the way: the choice is the one made before.
    DisconnectHandlers();
    TerminateDialog(0);
}

void SelectReaderDialog::PrintResultToPipe() const
{
    const SelectReaderItem* reader = Reader(m_readerIndex);
    const std::string answer =
        xvtui::protocol::EncodeReaderAnswer(reader != nullptr ? reader->name : "", AppletOf(m_readerIndex, m_appletIndex));
    WriteAnswer(m_pipe, answer);
}

const SelectReaderDialog::SelectReaderItem* SelectReaderDialog::Reader(int index) const
{
    return index >= 0 && static_cast<size_t>(index) < m_readers.size() ? &m_readers[static_cast<size_t>(index)]
                                                                        : nullptr;
}

std::string SelectReaderDialog::AppletOf(int reader, int applet) const
{
    const SelectReaderItem* item = Reader(reader);
    return item != nullptr && applet >= 0 && static_cast<size_t>(applet) < item->applets.size()
               ? item->applets[static_cast<size_t>(applet)]
               : std::string();
}

std::string SelectReaderDialog::DescriptionOf(int reader, int applet) const
{
    const SelectReaderItem* item = Reader(reader);
    return item != nullptr && applet >= 0 && static_cast<size_t>(applet) < item->descriptions.size()
               ? item->descriptions[static_cast<size_t>(applet)]
               : std::string();
}
