#include "dialogs/password/PasswordDialogBase.h"

#include <X11/XKBlib.h>
#include <gdk/gdkkeysyms.h>
#include <gdk/gdkx.h>

#include "base/Accessible.h"
#include "base/Callback.h"
#include "base/secure/SecureEntryBuffer.h"
#include "base/secure/SecureMemory.h"
#include "l10n/Cp1251.h"
#include "l10n/FormatCheck.h"

bool PasswordDialogBase::m_capsLockIsOn = false;

LocalizedText PasswordDialogBase::m_askPasswordTerm{"Please, type password:", CP1251_TEXT("Введите пароль:")};
LocalizedText PasswordDialogBase::m_askNewPasswordTerm{"New password:", CP1251_TEXT("Новый пароль:")};
LocalizedText PasswordDialogBase::m_confirmPasswordTerm{"Confirm password:", CP1251_TEXT("Повторите пароль:")};
LocalizedText PasswordDialogBase::m_savePasswordTerm{"Save password in system",
                                                     CP1251_TEXT("Сохранить пароль в системе")};
LocalizedText PasswordDialogBase::m_dontCacheTerm{"Require password for every operation",
                                                  CP1251_TEXT("Требовать пароль при каждой операции")};
LocalizedText PasswordDialogBase::m_notEqualTerm{"Input and confirmation do not match",
                                                 CP1251_TEXT("Ввод и подтверждение не совпадают")};
LocalizedText PasswordDialogBase::m_capsLockTerm{"Caps Lock button is on", CP1251_TEXT("Включен Caps Lock")};
LocalizedText PasswordDialogBase::m_minLengthTerm{"Entered %s is too short",
                                                  CP1251_TEXT("Введенный %s слишком короткий")};
LocalizedText PasswordDialogBase::m_ASCIISymbolsTerm{"Entered %s contains not ASCII symbols",
                                                     CP1251_TEXT("Введенный %s содержит не ASCII символы")};
LocalizedText PasswordDialogBase::m_wrongPasswordTerm{"Wrong %s.", CP1251_TEXT("Неверный %s.")};
LocalizedText PasswordDialogBase::m_triesLeftTerm{"Tries left:", CP1251_TEXT("Осталось попыток:")};
LocalizedText PasswordDialogBase::m_notSecurePasswordTerm{"Entered %s is not secure",
                                                          CP1251_TEXT("Введенный %s ненадежный")};

namespace {

// Catalogue texts of the three entry captions, each with one "%s".
constexpr unsigned kAskPasswordText = 2141;
constexpr unsigned kAskNewPasswordText = 2142;
constexpr unsigned kConfirmPasswordText = 2143;

constexpr gint kHeaderWidth = 510;
constexpr gint kWindowWidth = 540;
constexpr guint kTableRowSpacing = 10;
constexpr guint kSeparatorPadding = 10;
constexpr guint kEntryTablePadding = 10;

void cbOnOKClicked(GtkWidget*, gpointer data)
{
    callback::Forward<PasswordDialogBase>("cbOnOKClicked", data, &PasswordDialogBase::OnOKClicked);
}

void cbOnPasswordChanged(GtkEditable*, gpointer data)
{
    callback::Forward<PasswordDialogBase>("cbOnPasswordChanged", data, &PasswordDialogBase::OnPasswordChanged);
}

void cbOnResize(GtkWidget*, GtkAllocation* allocation, gpointer data)
{
    callback::ForwardEvent<PasswordDialogBase>(
        "cbOnResize", data, allocation, [](PasswordDialogBase& dialog, GtkAllocation& size) {
            dialog.OnResize(size.width > 0 ? static_cast<unsigned>(size.width) : 0u);
        });
}

gboolean cbOnKeyPressed(GtkWidget*, GdkEventKey* event, gpointer data)
{
    callback::ForwardEvent<PasswordDialogBase>("cbOnKeyPressed", data, event,
                                               [](PasswordDialogBase& dialog, GdkEventKey& key) {
                                                   dialog.OnKeyPressed(key);
                                               });
    return FALSE; // the key goes on to the focused widget
}

// Key events that another X client made up with XSendEvent (the server marks
// them send_event) end here, before the window's own handling, mnemonics or
// the focused entry see them: only the keyboard types into a password entry.
// Needs no dialog.
gboolean cbOnForgedKey(GtkWidget*, GdkEventKey* event, gpointer)
{
    return event != nullptr && event->send_event != 0;
}

gboolean cbOnFocusIn(GtkWidget*, GdkEventFocus*, gpointer data)
{
    callback::Forward<PasswordDialogBase>("cbOnFocusIn", data, &PasswordDialogBase::OnFocusIn);
    return FALSE;
}

// Clipboard guard: whatever a copy (or cut) in a password entry would have
// offered, both selections end up holding the empty text. Connected after
// GTK's own handler, so it has the last word. Needs no dialog.
void cbOnCopyClipboard(GtkEntry* entry, gpointer)
{
    for (GdkAtom selection : {GDK_SELECTION_PRIMARY, GDK_SELECTION_CLIPBOARD}) {
        GtkClipboard* clipboard = entry != nullptr ? gtk_widget_get_clipboard(GTK_WIDGET(entry), selection)
                                                   : gtk_clipboard_get(selection);
        gtk_clipboard_clear(clipboard);
        gtk_clipboard_set_text(clipboard, "", 0);
    }
}

GtkWidget* NewInfoLabel(const std::string& text, const char* name)
{
    GtkWidget* label = gtk_label_new(text.c_str());
    gtk_misc_set_alignment(GTK_MISC(label), 0.0f, 0.0f);
    gtk_widget_set_name(label, name);
    return label;
}

// Removes every handler that has `data` as its user data from `widget` and
// everything inside it, internal children included.
void DisconnectHandlers(GtkWidget* widget, gpointer data)
{
    g_signal_handlers_disconnect_matched(widget, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, data);
    if (GTK_IS_CONTAINER(widget)) {
        gtk_container_forall(
            GTK_CONTAINER(widget), [](GtkWidget* child, gpointer user) { DisconnectHandlers(child, user); }, data);
    }
}

// A catalogue caption is used only with exactly one plain "%s"; anything else
// counts as missing.
std::string CheckedCaption(const std::string& text)
{
    return VtuiLogic::IsSingleConversionFormat(text, 's') ? text : std::string();
}

} // namespace

PasswordDialogBase::PasswordDialogBase(const PasswordDialogInfo& info, const xvtui::protocol::Pipe& pipe)
    : BaseDialog(DialogKind::Password, "passwd_time", "passwd_show_time", "passwd_resume_time"),
      m_pipe(pipe),
      m_maxPasswordLength(static_cast<std::int32_t>(info.maxPasswordLength)),
      m_minPasswordLength(static_cast<std::int32_t>(info.minPasswordLength)),
      m_maxNewPasswordLength(static_cast<std::int32_t>(info.maxNewPasswordLength)),
      m_minNewPasswordLength(static_cast<std::int32_t>(info.minNewPasswordLength)),
      m_passwordTerm(Displayable(info.passwordTerm)),
      m_newPasswordTerm(Displayable(info.newPasswordTerm.empty() ? info.passwordTerm : info.newPasswordTerm)),
      m_header(Displayable(info.header)),
      m_readerCaption(Displayable(info.readerCaption)),
      m_carrierCaption(Displayable(info.carrierCaption)),
      m_containerCaption(Displayable(info.containerCaption)),
      m_readerName(Displayable(info.readerName)),
      m_carrierName(Displayable(info.carrierName)),
      m_containerName(Displayable(m_localizer->LocalizeContName(info.containerName, 0))),
      m_carrierActive(info.carrierActive)
{
    // No core file or debugger attach can show a password typed from here on.
    secure::DisableCoreDumps();
    PasswordDialogBaseTermsInit();
}

PasswordDialogBase::~PasswordDialogBase()
{
    // BaseDialog's destructor destroys a window that is still there; by then
    // this part of the object is gone, so no handler of ours may run any more.
    if (m_window != nullptr) {
        DisconnectHandlers(m_window, this);
    }
}

void PasswordDialogBase::PasswordDialogBaseTermsInit()
{
    for (LocalizedText* term : {&m_savePasswordTerm, &m_dontCacheTerm, &m_notEqualTerm, &m_capsLockTerm,
                                &m_minLengthTerm, &m_ASCIISymbolsTerm, &m_wrongPasswordTerm, &m_triesLeftTerm,
                                &m_notSecurePasswordTerm}) {
        m_localizer->Localize(*term);
    }
    LocalizePasswordInputStrings();
}

void PasswordDialogBase::LocalizePasswordInputStrings()
{
    const std::string ask = CheckedCaption(m_localizer->Localize(kAskPasswordText));
    const std::string askNew = CheckedCaption(m_localizer->Localize(kAskNewPasswordText));
    const std::string confirm = CheckedCaption(m_localizer->Localize(kConfirmPasswordText));
    const bool catalogueHasAll = !ask.empty() && !askNew.empty() && !confirm.empty();

    if (catalogueHasAll && !m_passwordTerm.empty()) {
        m_askPasswordTerm = LocalizedText("", "", Displayable(PrintToString(ask, m_passwordTerm)));
    } else {
        m_localizer->Localize(m_askPasswordTerm);
    }
    if (catalogueHasAll && !m_newPasswordTerm.empty()) {
        m_askNewPasswordTerm = LocalizedText("", "", Displayable(PrintToString(askNew, m_newPasswordTerm)));
        m_confirmPasswordTerm = LocalizedText("", "", Displayable(PrintToString(confirm, m_newPasswordTerm)));
    } else {
        m_localizer->Localize(m_askNewPasswordTerm);
        m_localizer->Localize(m_confirmPasswordTerm);
    }
}

void PasswordDialogBase::PasswordDialogBaseGtkInit(const std::string& title)
{
    if (!title.empty()) {
        m_titleTerm = LocalizedText("", "", Displayable(title));
        gtk_window_set_title(GTK_WINDOW(m_window), m_titleTerm.c_str());
    }
    AddAuthInfoWidgets();

    GtkWidget* separator = gtk_hseparator_new();
    gtk_box_pack_start(GTK_BOX(m_mainBox), separator, FALSE, FALSE, kSeparatorPadding);

    AddPasswordWidgets();
    AddHintLabel();

    gtk_box_pack_start(GTK_BOX(m_mainBox), m_buttonAlignment, TRUE, TRUE, 0);

    g_signal_connect(m_okButton, "clicked", G_CALLBACK(cbOnOKClicked), this);
    g_signal_connect(m_window, "size-allocate", G_CALLBACK(cbOnResize), this);
    // First, so that a forged key reaches no other handler.
    g_signal_connect(m_window, "key-press-event", G_CALLBACK(cbOnForgedKey), nullptr);
    g_signal_connect(m_window, "key-release-event", G_CALLBACK(cbOnForgedKey), nullptr);
    g_signal_connect(m_window, "key-press-event", G_CALLBACK(cbOnKeyPressed), this);
    g_signal_connect(m_window, "focus-in-event", G_CALLBACK(cbOnFocusIn), this);
    gtk_widget_set_size_request(m_window, kWindowWidth, -1);
}

void PasswordDialogBase::AddAuthInfoWidgets()
{
    m_headerLabel = gtk_label_new(m_header.c_str());
    gtk_widget_set_name(m_headerLabel, "xvtui-header");
    gtk_misc_set_alignment(GTK_MISC(m_headerLabel), 0.0f, 0.0f);
    gtk_label_set_line_wrap(GTK_LABEL(m_headerLabel), TRUE);
    gtk_widget_set_size_request(m_headerLabel, kHeaderWidth, -1);
    gtk_box_pack_start(GTK_BOX(m_mainBox), m_headerLabel, FALSE, FALSE, 0);
    accessible::DescribeWindow(m_window, m_header);

    const guint rows = m_containerName.empty() ? 2 : 3;
    GtkWidget* table = gtk_table_new(rows, 3, TRUE);
    gtk_widget_set_name(table, "xvtui-info-table");
    struct Row {
        const std::string& caption;
        const std::string& value;
        const char* captionName;
        const char* valueName;
    };
    const Row rowsContent[3] = {
        {m_readerCaption, m_readerName, "xvtui-reader-caption", "xvtui-reader-name"},
        {m_carrierCaption, m_carrierName, "xvtui-carrier-caption", "xvtui-carrier-name"},
        {m_containerCaption, m_containerName, "xvtui-container-caption", "xvtui-container-name"},
    };
    for (guint row = 0; row < rows; ++row) {
        GtkWidget* caption = NewInfoLabel(rowsContent[row].caption, rowsContent[row].captionName);
        GtkWidget* value = NewInfoLabel(rowsContent[row].value, rowsContent[row].valueName);
        gtk_table_attach_defaults(GTK_TABLE(table), caption, 0, 1, row, row + 1);
        gtk_table_attach_defaults(GTK_TABLE(table), value, 1, 3, row, row + 1);
        accessible::TieCaption(caption, value);
        if (row == 1 && !m_carrierActive) {
            SetWidgetColor(caption, m_inactiveColor, true);
            SetWidgetColor(value, m_inactiveColor, true);
        }
    }
    gtk_table_set_row_spacings(GTK_TABLE(table), kTableRowSpacing);
    gtk_box_pack_start(GTK_BOX(m_mainBox), table, FALSE, FALSE, 0);
}

void PasswordDialogBase::AddHintLabel()
{
    m_hintLabel = gtk_label_new("");
    gtk_widget_set_name(m_hintLabel, "xvtui-hint");
    gtk_misc_set_alignment(GTK_MISC(m_hintLabel), 0.0f, 0.0f);
    SetWidgetColor(m_hintLabel, m_warningColor, true);
    accessible::SetRole(m_hintLabel, ATK_ROLE_ALERT);
    accessible::SetName(m_hintLabel, "");
    gtk_box_pack_start(GTK_BOX(m_mainBox), m_hintLabel, FALSE, FALSE, 0);
    UpdateWarnings();
}

void PasswordDialogBase::InitEntryWidget(GtkWidget*& entry, int maxLength, const char* name)
{
    entry = secure::NewPasswordEntry(maxLength);
    gtk_widget_set_name(entry, name);
    g_signal_connect(entry, "changed", G_CALLBACK(cbOnPasswordChanged), this);
    g_signal_connect_after(entry, "copy-clipboard", G_CALLBACK(cbOnCopyClipboard), this);
    g_signal_connect_after(entry, "cut-clipboard", G_CALLBACK(cbOnCopyClipboard), this);
    gtk_entry_set_activates_default(GTK_ENTRY(entry), TRUE);
}

void PasswordDialogBase::AttachEntryRow(GtkWidget* table, guint row, const LocalizedText& caption,
                                        const char* captionName, GtkWidget*& entry, int maxLength,
                                        const char* entryName)
{
    GtkWidget* label = gtk_label_new(caption.c_str());
    gtk_widget_set_name(label, captionName);
    gtk_misc_set_alignment(GTK_MISC(label), 0.0f, 1.0f);
    gtk_table_attach_defaults(GTK_TABLE(table), label, 0, 1, row, row + 1);
    InitEntryWidget(entry, maxLength, entryName);
    gtk_table_attach_defaults(GTK_TABLE(table), entry, 1, 3, row, row + 1);
    accessible::TieCaption(label, entry);
}

void PasswordDialogBase::AddNewPasswordTable(GtkWidget*& newEntry, GtkWidget*& confirmationEntry,
                                             GCallback onConfirmationFocusIn, gpointer dialog)
{
    GtkWidget* table = gtk_table_new(2, 3, TRUE);
    gtk_widget_set_name(table, "xvtui-new-password-table");
    AttachEntryRow(table, 0, m_askNewPasswordTerm, "xvtui-new-password-caption", newEntry,
                   m_maxNewPasswordLength, "xvtui-new-password-entry");
    AttachEntryRow(table, 1, m_confirmPasswordTerm, "xvtui-confirm-password-caption", confirmationEntry,
                   m_maxNewPasswordLength, "xvtui-confirm-password-entry");
    g_signal_connect(confirmationEntry, "focus-in-event", onConfirmationFocusIn, dialog);
    gtk_box_pack_start(GTK_BOX(m_mainBox), table, FALSE, FALSE, kEntryTablePadding);
}

void PasswordDialogBase::UpdateNewPasswordOK(const secure::String& newPassword,
                                             const secure::String& confirmation)
{
    // The lengths are looked at only when both fields agree.
    const bool acceptable = newPassword == confirmation && !IsPasswordTooShort();
    gtk_widget_set_sensitive(m_okButton, acceptable ? TRUE : FALSE);
}

void PasswordDialogBase::OnOKClicked()
{
    if (!WidgetsAlive()) {
        return;
    }
    m_lengthCheckArmed = true;
    if (!IsPasswordTooShort()) {
        TerminateDialog(0);
        return;
    }
    gtk_widget_set_sensitive(m_okButton, FALSE);
    UpdateWarnings();
}

bool PasswordDialogBase::CheckCapsLockState()
{
    GdkDisplay* display = gdk_display_get_default();
    if (display == nullptr) {
        return false;
    }
    XkbStateRec state{};
    if (XkbGetState(GDK_DISPLAY_XDISPLAY(display), XkbUseCoreKbd, &state) != Success) {
        return false;
    }
    m_capsLockIsOn = (state.locked_mods & LockMask) != 0;
    return m_capsLockIsOn;
}

void PasswordDialogBase::OnFocusIn()
{
    // A failed read counts as Caps Lock off.
    if (!CheckCapsLockState()) {
        m_capsLockIsOn = false;
    }
    UpdateWarnings();
}

void PasswordDialogBase::OnKeyPressed(const GdkEventKey& event)
{
    // XKB reports the new lock state only once the key is released, so the
    // press itself inverts the belief.
    if (event.keyval == GDK_Caps_Lock) {
        m_capsLockIsOn = !m_capsLockIsOn;
        UpdateWarnings();
    }
}

void PasswordDialogBase::OnResize(unsigned width)
{
    RedrawLabel(width, m_headerLabel, m_header);
}

PasswordWarnings::Texts PasswordDialogBase::WarningTexts()
{
    return PasswordWarnings::Texts{
        m_notEqualTerm.GetText(),     m_capsLockTerm.GetText(),          m_minLengthTerm.GetText(),
        m_ASCIISymbolsTerm.GetText(), m_notSecurePasswordTerm.GetText(),
    };
}

PasswordWarnings::Texts PasswordDialogBase::EnglishWarningTexts()
{
    return PasswordWarnings::Texts{
        m_notEqualTerm.GetEnText(),     m_capsLockTerm.GetEnText(),          m_minLengthTerm.GetEnText(),
        m_ASCIISymbolsTerm.GetEnText(), m_notSecurePasswordTerm.GetEnText(),
    };
}

void PasswordDialogBase::GetWarningsBase(std::string_view password)
{
    const bool tooShort = m_lengthCheckArmed && IsPasswordTooShort(); // also sets m_currentTerm
    PasswordWarnings::AddBaseWarnings(m_errors, WarningTexts(), password, m_capsLockIsOn, tooShort, m_currentTerm,
                                      m_newPasswordTerm);
}

void PasswordDialogBase::GetWarningsForTwoEntryDialog(std::string_view newPassword, std::string_view confirmation,
                                                      bool checkStrength)
{
    m_errors = PasswordWarnings::Queue();
    PasswordWarnings::AddTwoEntryWarnings(m_errors, WarningTexts(), newPassword, confirmation, checkStrength,
                                          m_newPasswordTerm);
    GetWarningsBase(newPassword);
}

void PasswordDialogBase::AddTriesLeftWarning(const std::string& text)
{
    PasswordWarnings::AddTriesLeftWarning(m_errors, text);
}

void PasswordDialogBase::ShowWarnings()
{
    // A catalogue text or a word cut at 511 bytes may end inside a character.
    const std::string text = Displayable(PasswordWarnings::TakeHintText(m_errors));
    // Setting the same text again would announce it again.
    if (WidgetsAlive() && m_hintLabel != nullptr && text != gtk_label_get_text(GTK_LABEL(m_hintLabel))) {
        gtk_label_set_text(GTK_LABEL(m_hintLabel), text.c_str());
        accessible::NameAfterText(m_hintLabel);
    }
}

bool PasswordDialogBase::HasNotASCIISymbols(std::string_view text)
{
    return PasswordWarnings::HasNotASCIISymbols(text);
}

std::string PasswordDialogBase::PrintToString(const std::string& format, const std::string& value)
{
    return PasswordWarnings::PrintToString(format, value);
}

void PasswordDialogBase::CopyEntryText(GtkWidget* entry, secure::String& target)
{
    if (entry == nullptr) {
        target.clear();
        return;
    }
    // The entry's text lives in its secure buffer; this reads it in place.
    GtkEntryBuffer* buffer = gtk_entry_get_buffer(GTK_ENTRY(entry));
    target.assign(gtk_entry_buffer_get_text(buffer), gtk_entry_buffer_get_bytes(buffer));
}
