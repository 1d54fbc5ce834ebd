#include "dialogs/password/PasswordDialogThreeEntry.h"

#include <cstdint>

#include "base/Callback.h"
#include "l10n/VtuiLogic.h"

namespace {

constexpr guint kTablePadding = 10;

// "focus-in-event" of the confirmation field. FALSE: the entry still gets the
// event (and so the cursor).
gboolean cbOnFocusChangedThreeEntry(GtkWidget*, GdkEvent*, gpointer data)
{
    callback::Forward<PasswordDialogThreeEntry>("cbOnFocusChanged", data,
                                                &PasswordDialogThreeEntry::OnFocusChanged);
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

PasswordDialogThreeEntry::PasswordDialogThreeEntry(const PasswordDialogInfo& info) : PasswordDialogBase(info)
{
    PasswordDialogBaseGtkInit(info.title);
    m_triesLeftText = VtuiLogic::get_tries_warning_string(static_cast<unsigned>(info.triesLeft), m_passwordTerm);
    // m_currentTerm is chosen by IsPasswordTooShort, whichever password is short.
}

PasswordDialogThreeEntry::~PasswordDialogThreeEntry() = default;

void PasswordDialogThreeEntry::AddPasswordWidgets()
{
    // The current password: a homogeneous two-row table of which only the
    // first row is used; the empty row keeps it apart from the new password.
    GtkWidget* currentTable = gtk_table_new(2, 3, TRUE);
    gtk_widget_set_name(currentTable, "xvtui-password-table");
    gtk_table_attach_defaults(GTK_TABLE(currentTable), NewCaption(m_askPasswordTerm.c_str(), "xvtui-password-caption"),
                              0, 1, 0, 1);
    InitEntryWidget(m_currentPasswordEntry, m_maxPasswordLength, "xvtui-password-entry");
    gtk_table_attach_defaults(GTK_TABLE(currentTable), m_currentPasswordEntry, 1, 3, 0, 1);
    gtk_box_pack_start(GTK_BOX(m_mainBox), currentTable, FALSE, FALSE, kTablePadding);

    GtkWidget* newTable = gtk_table_new(2, 3, TRUE);
    gtk_widget_set_name(newTable, "xvtui-new-password-table");
    gtk_table_attach_defaults(GTK_TABLE(newTable),
                              NewCaption(m_askNewPasswordTerm.c_str(), "xvtui-new-password-caption"), 0, 1, 0, 1);
    InitEntryWidget(m_newPasswordEntry, m_maxNewPasswordLength, "xvtui-new-password-entry");
    gtk_table_attach_defaults(GTK_TABLE(newTable), m_newPasswordEntry, 1, 3, 0, 1);
    gtk_table_attach_defaults(GTK_TABLE(newTable),
                              NewCaption(m_confirmPasswordTerm.c_str(), "xvtui-confirm-password-caption"), 0, 1, 1, 2);
    InitEntryWidget(m_confirmationEntry, m_maxNewPasswordLength, "xvtui-confirm-password-entry");
    gtk_table_attach_defaults(GTK_TABLE(newTable), m_confirmationEntry, 1, 3, 1, 2);
    g_signal_connect(m_confirmationEntry, "focus-in-event", G_CALLBACK(cbOnFocusChangedThreeEntry), this);
    gtk_box_pack_start(GTK_BOX(m_mainBox), newTable, FALSE, FALSE, kTablePadding);
}

void PasswordDialogThreeEntry::OnPasswordChanged()
{
    if (!WidgetsAlive()) {
        return; // the window is gone: the texts copied before OK are the answer
    }
    m_lengthCheckArmed = true;
    CopyEntryText(m_currentPasswordEntry, m_currentPassword);
    CopyEntryText(m_newPasswordEntry, m_newPassword);
    CopyEntryText(m_confirmationEntry, m_confirmation);
    // The lengths are looked at only when the new password and its
    // confirmation agree.
    const bool acceptable = m_newPassword == m_confirmation && !IsPasswordTooShort();
    gtk_widget_set_sensitive(m_okButton, acceptable ? TRUE : FALSE);
    UpdateWarnings();
    ResetTimeout();
}

bool PasswordDialogThreeEntry::IsPasswordTooShort()
{
    if (static_cast<std::int32_t>(m_currentPassword.size()) < m_minPasswordLength) {
        m_currentTerm = m_passwordTerm;
        return true;
    }
    if (static_cast<std::int32_t>(m_newPassword.size()) < m_minNewPasswordLength) {
        m_currentTerm = m_newPasswordTerm;
        return true;
    }
    return false;
}

void PasswordDialogThreeEntry::UpdateWarnings()
{
    GetWarningsForTwoEntryDialog(m_newPassword.view(), m_confirmation.view(), m_confirmationFocused);
    AddTriesLeftWarning(m_triesLeftText);
    ShowWarnings();
}

void PasswordDialogThreeEntry::OnFocusChanged()
{
    if (!WidgetsAlive()) {
        return;
    }
    m_confirmationFocused = true;
    UpdateWarnings();
}

void PasswordDialogThreeEntry::PrintResultToPipe() const
{
    secure::String answer;
    answer.append("XVTUI_old_passwd=");
    answer.append(m_currentPassword);
    answer.append("XVTUI_passwd=");
    answer.append(m_newPassword);
    WriteSecret(answer); // the answer's block is wiped when it goes out of scope
}
