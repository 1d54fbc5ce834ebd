#include "dialogs/password/PasswordDialogTwoEntry.h"

#include <cstdint>

#include "base/Callback.h"

namespace {

constexpr guint kTablePadding = 10;

// "focus-in-event" of the confirmation field. FALSE: the entry still gets the
// event (and so the cursor).
gboolean cbOnFocusChangedTwoEntry(GtkWidget*, GdkEvent*, gpointer data)
{
    callback::Forward<PasswordDialogTwoEntry>("cbOnFocusChanged", data, &PasswordDialogTwoEntry::OnFocusChanged);
    return FALSE;
}

// A field's caption, left-aligned and resting on the field's baseline side.
GtkWidget* NewCaption(const char* text, const char* name)
{
    GtkWidget* label = gtk_label_new(text);
    gtk_widget_set_name(label, name);
    gtk_misc_set_alignment(GTK_MISC(label), 0.0f, 1.0f);
    return label;
}

} // namespace

PasswordDialogTwoEntry::PasswordDialogTwoEntry(const PasswordDialogInfo& info) : PasswordDialogBase(info)
{
    PasswordDialogBaseGtkInit(info.title);
    // The too-short warning can only ever be about the new secret here.
    m_currentTerm = m_newPasswordTerm;
}

PasswordDialogTwoEntry::~PasswordDialogTwoEntry() = default;

void PasswordDialogTwoEntry::AddPasswordWidgets()
{
    GtkWidget* table = gtk_table_new(2, 3, TRUE);
    gtk_widget_set_name(table, "xvtui-new-password-table");

    gtk_table_attach_defaults(GTK_TABLE(table), NewCaption(m_askNewPasswordTerm.c_str(), "xvtui-new-password-caption"),
                              0, 1, 0, 1);
    InitEntryWidget(m_newPasswordEntry, m_maxNewPasswordLength, "xvtui-new-password-entry");
    gtk_table_attach_defaults(GTK_TABLE(table), m_newPasswordEntry, 1, 3, 0, 1);

    gtk_table_attach_defaults(GTK_TABLE(table),
                              NewCaption(m_confirmPasswordTerm.c_str(), "xvtui-confirm-password-caption"), 0, 1, 1, 2);
    InitEntryWidget(m_confirmationEntry, m_maxNewPasswordLength, "xvtui-confirm-password-entry");
    gtk_table_attach_defaults(GTK_TABLE(table), m_confirmationEntry, 1, 3, 1, 2);
    g_signal_connect(m_confirmationEntry, "focus-in-event", G_CALLBACK(cbOnFocusChangedTwoEntry), this);

    gtk_box_pack_start(GTK_BOX(m_mainBox), table, FALSE, FALSE, kTablePadding);
}

void PasswordDialogTwoEntry::OnPasswordChanged()
{
    if (!WidgetsAlive()) {
        return; // the window is gone: the texts copied before OK are the answer
    }
    m_lengthCheckArmed = true;
    CopyEntryText(m_newPasswordEntry, m_newPassword);
    CopyEntryText(m_confirmationEntry, m_confirmation);
    // The length is looked at only when both fields agree.
    const bool acceptable = m_newPassword == m_confirmation && !IsPasswordTooShort();
    gtk_widget_set_sensitive(m_okButton, acceptable ? TRUE : FALSE);
    UpdateWarnings();
    ResetTimeout();
}

bool PasswordDialogTwoEntry::IsPasswordTooShort()
{
    return static_cast<std::int32_t>(m_newPassword.size()) < m_minNewPasswordLength;
}

void PasswordDialogTwoEntry::UpdateWarnings()
{
    GetWarningsForTwoEntryDialog(m_newPassword.view(), m_confirmation.view(), m_confirmationFocused);
    ShowWarnings();
}

void PasswordDialogTwoEntry::OnFocusChanged()
{
    if (!WidgetsAlive()) {
        return;
    }
    m_confirmationFocused = true;
    UpdateWarnings();
}

void PasswordDialogTwoEntry::PrintResultToPipe() const
{
    secure::String answer;
    answer.append("XVTUI_passwd=");
    answer.append(m_newPassword);
    WriteSecret(answer); // the answer's block is wiped when it goes out of scope
}
