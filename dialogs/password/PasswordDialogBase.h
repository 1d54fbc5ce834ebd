// PasswordDialogBase: the window shared by the password and PIN dialogs.
//
// On top of BaseDialog's window, OK/Cancel row and countdown it builds, from
// top to bottom: the header text, the reader/carrier/container table, a
// separator, the concrete dialog's entries (AddPasswordWidgets), the hint
// label with up to three warnings, and the button row. It tracks Caps Lock,
// keeps password entries out of the clipboards and handles OK.
//
// A concrete dialog:
//   - sets its own fields, then calls PasswordDialogBaseGtkInit(info.title),
//     which calls AddPasswordWidgets() and then UpdateWarnings() once;
//   - makes each entry with InitEntryWidget (a masked entry on a locked, wiped
//     buffer, wired to OnPasswordChanged), and copies entry texts with
//     CopyEntryText into secure::String members, never into std::string;
//   - in OnPasswordChanged: sets m_lengthCheckArmed, copies the texts, sets
//     OK's sensitivity, calls UpdateWarnings() and ResetTimeout();
//   - in UpdateWarnings: empties m_errors (or calls
//     GetWarningsForTwoEntryDialog, which does), adds its rules
//     (GetWarningsBase, AddTriesLeftWarning) and ends with ShowWarnings();
//   - in IsPasswordTooShort: compares byte lengths with the minimums and sets
//     m_currentTerm to the word of the short password;
//   - writes its answer in PrintResultToPipe: the protocol's encoder
//     (protocol/PasswordRequest.h) composes it in a secure::String, m_pipe
//     takes it to the parent.
//
// Widget names (gtk_widget_set_name), besides BaseDialog's:
//   "xvtui-header"             m_headerLabel
//   "xvtui-info-table"         the reader/carrier/container table
//   "xvtui-reader-caption"     "xvtui-reader-name"       row 0
//   "xvtui-carrier-caption"    "xvtui-carrier-name"      row 1
//   "xvtui-container-caption"  "xvtui-container-name"    row 2, only with a container
//   "xvtui-hint"               m_hintLabel
//   entries: the name given to InitEntryWidget ("xvtui-password-entry" by default)
#ifndef XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGBASE_H
#define XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGBASE_H

#include <cstdint>
#include <string>
#include <string_view>

#include <gtk/gtk.h>

#include "base/BaseDialog.h"
#include "base/secure/SecureString.h"
#include "dialogs/password/PasswordDialogInfo.h"
#include "dialogs/password/PasswordWarnings.h"
#include "l10n/LocalizedText.h"
#include "protocol/Pipe.h"

class PasswordDialogBase : public BaseDialog {
public:
    using PasswordError = PasswordWarnings::PasswordError;

    // Builds no widget (the pure operations are not callable yet): base part,
    // fields and terms. Also disables core dumps, before any secret is read.
    // The dialog talks to its parent through `pipe`.
    explicit PasswordDialogBase(const PasswordDialogInfo& info,
                                const xvtui::protocol::Pipe& pipe = xvtui::protocol::Pipe::Standard());
    ~PasswordDialogBase() override;

    // OK: arms the length check; ends the dialog with 0 unless a password is
    // too short, in which case OK goes insensitive and the warning shows.
    virtual void OnOKClicked();
    // Any change of any password entry.
    virtual void OnPasswordChanged() = 0;
    // Packs the dialog's entries (and check boxes) into m_mainBox.
    virtual void AddPasswordWidgets() = 0;
    // True when an entered password is shorter (in bytes) than its minimum;
    // sets m_currentTerm to that password's word.
    virtual bool IsPasswordTooShort() = 0;
    // Recomputes the warnings and shows them.
    virtual void UpdateWarnings() = 0;

    // Caps Lock: re-read on focus-in, inverted on a Caps_Lock press.
    void OnFocusIn();
    void OnKeyPressed(const GdkEventKey& event);
    // Reads the XKB state: true when Caps Lock is locked. Stores it in
    // m_capsLockIsOn when the read succeeds; false, flag unchanged, otherwise.
    bool CheckCapsLockState();
    // Re-wraps the header to the window width.
    void OnResize(unsigned width);

    // The warning rules (PasswordWarnings.h) on this dialog's terms and state.
    // GetWarningsBase adds to m_errors; the two-entry form empties it first.
    void GetWarningsBase(std::string_view password);
    void GetWarningsForTwoEntryDialog(std::string_view newPassword, std::string_view confirmation,
                                      bool checkStrength);
    void AddTriesLeftWarning(const std::string& text);
    // Moves the top three warnings into the hint label (always three lines).
    void ShowWarnings();
    static bool HasNotASCIISymbols(std::string_view text);
    // `format` (one "%s") filled with `value`, cut at 511 bytes.
    static std::string PrintToString(const std::string& format, const std::string& value);

    // The display texts the warning rules use, and their English forms.
    static PasswordWarnings::Texts WarningTexts();
    static PasswordWarnings::Texts EnglishWarningTexts();

    // The Caps Lock state as the dialogs believe it, process-wide.
    static bool m_capsLockIsOn;

protected:
    // Same localisation as the constructor's: the warning and check-box terms,
    // then LocalizePasswordInputStrings().
    void PasswordDialogBaseTermsInit();
    // The three entry captions: catalogue texts 2141-2143 with the password
    // words when all three exist (and have exactly one "%s"), else built-in.
    void LocalizePasswordInputStrings();
    // Builds the window content; see the class comment.
    void PasswordDialogBaseGtkInit(const std::string& title);
    void AddAuthInfoWidgets();
    void AddHintLabel();
    // A masked password entry on a secure buffer, `maxLength` characters at
    // most (0 or less: no limit), named `name`, wired to OnPasswordChanged and
    // to the clipboard guard, activating the default (OK) button on Enter.
    void InitEntryWidget(GtkWidget*& entry, int maxLength, const char* name = "xvtui-password-entry");
    // One row of a homogeneous three-column entry table: `caption` in column 0,
    // left-aligned and resting on the entry's side, and a new entry
    // (InitEntryWidget) across columns 1 to 3.
    void AttachEntryRow(GtkWidget* table, guint row, const LocalizedText& caption, const char* captionName,
                        GtkWidget*& entry, int maxLength, const char* entryName);
    // The new-password and confirmation rows of the two- and three-entry
    // dialogs ("xvtui-new-password-table"), packed into m_mainBox; the
    // confirmation entry's "focus-in-event" goes to `onConfirmationFocusIn`
    // with `dialog` (the concrete dialog, of the type the handler casts to).
    void AddNewPasswordTable(GtkWidget*& newEntry, GtkWidget*& confirmationEntry, GCallback onConfirmationFocusIn,
                             gpointer dialog);
    // OK is sensitive only while the new password and its confirmation are
    // byte-equal and IsPasswordTooShort() is false (asked only when equal).
    void UpdateNewPasswordOK(const secure::String& newPassword, const secure::String& confirmation);

    // False once the window has been destroyed (the dialog has ended): its
    // widgets, and the pointers the dialogs keep to them, are gone. Handlers
    // that touch widgets check it first.
    bool WidgetsAlive() const { return m_window != nullptr; }

    // The entry's text copied into `target` (wiping what it held).
    static void CopyEntryText(GtkWidget* entry, secure::String& target);

    xvtui::protocol::Pipe m_pipe;
    PasswordWarnings::Queue m_errors;
    std::int32_t m_maxPasswordLength;
    std::int32_t m_minPasswordLength;
    std::int32_t m_maxNewPasswordLength;
    std::int32_t m_minNewPasswordLength;
    bool m_lengthCheckArmed = false; // OK pressed or an entry changed: report "too short"
    std::string m_passwordTerm;
    std::string m_newPasswordTerm;  // newPasswordTerm, or passwordTerm when that is empty
    std::string m_currentTerm;      // word of the too-short warning, set by the dialogs
    GtkWidget* m_headerLabel = nullptr;
    GtkWidget* m_hintLabel = nullptr;
    std::string m_header;
    std::string m_readerCaption;
    std::string m_carrierCaption;
    std::string m_containerCaption;
    std::string m_readerName;
    std::string m_carrierName;
    std::string m_containerName;    // localized container name
    bool m_carrierActive;

    static LocalizedText m_askPasswordTerm;       // "Please, type password:"
    static LocalizedText m_askNewPasswordTerm;    // "New password:"
    static LocalizedText m_confirmPasswordTerm;   // "Confirm password:"
    static LocalizedText m_savePasswordTerm;      // "Save password in system"
    static LocalizedText m_dontCacheTerm;         // "Require password for every operation"
    static LocalizedText m_notEqualTerm;          // "Input and confirmation do not match"
    static LocalizedText m_capsLockTerm;          // "Caps Lock button is on"
    static LocalizedText m_minLengthTerm;         // "Entered %s is too short"
    static LocalizedText m_ASCIISymbolsTerm;      // "Entered %s contains not ASCII symbols"
    static LocalizedText m_wrongPasswordTerm;     // "Wrong %s." (localised, shown nowhere)
    static LocalizedText m_triesLeftTerm;         // "Tries left:" (localised, shown nowhere)
    static LocalizedText m_notSecurePasswordTerm; // "Entered %s is not secure"
};

#endif
