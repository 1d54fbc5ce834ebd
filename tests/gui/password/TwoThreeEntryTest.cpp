// The new-password (two-entry) and password-change (three-entry) dialogs on a
// real X server: their tables, when OK may be pressed, which warnings show in
// which order, the confirmation field's first focus, and the answer after OK.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "base/secure/SecureEntryBuffer.h"
#include "common/XClient.h"
#include "dialogs/password/PasswordDialogFactory.h"
#include "dialogs/password/PasswordDialogThreeEntry.h"
#include "dialogs/password/PasswordDialogTwoEntry.h"
#include "gui/base/GuiSupport.h"

namespace {

using namespace std::chrono_literals;

constexpr const char* kNotEqual = "Input and confirmation do not match";
constexpr const char* kNewNotSecure = "Entered PIN is not secure";
constexpr const char* kNewTooShort = "Entered PIN is too short";
constexpr const char* kCurrentTooShort = "Entered password is too short";
constexpr const char* kCapsLock = "Caps Lock button is on";

// A request with distinct words for the current and the new secret, so that
// every warning shows which one it means. The captions come from the build
// tree's catalogue (texts 2141 to 2143, "Enter the %s:", "New %s:", "Repeat
// the new %s:").
PasswordDialogInfo Request(int minPassword, int minNewPassword, int triesLeft = 0xFFFF)
{
    PasswordDialogInfo info;
    info.title = "Change the PIN";
    info.header = "Choose a PIN for the key container\n";
    info.readerName = "Reader 0";
    info.carrierName = "Carrier 17";
    info.containerName = "keys";
    info.readerCaption = "Reader:";
    info.carrierCaption = "Carrier:";
    info.containerCaption = "Container:";
    info.passwordTerm = "password";
    info.newPasswordTerm = "PIN";
    info.carrierActive = true;
    info.triesLeft = triesLeft;
    info.maxPasswordLength = 16;
    info.minPasswordLength = minPassword;
    info.maxNewPasswordLength = 24;
    info.minNewPasswordLength = minNewPassword;
    return info;
}

// Runs the main loop until `done` holds; false when `timeout` passes first.
bool PumpUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout = 5s)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    // Wakes the loop up now and then, so the deadline is looked at.
    const guint tick = g_timeout_add(10, [](gpointer) -> gboolean { return TRUE; }, nullptr);
    bool held = done();
    while (!held && std::chrono::steady_clock::now() < deadline) {
        g_main_context_iteration(nullptr, TRUE);
        held = done();
    }
    g_source_remove(tick);
    return held;
}

// The dialog's top-level window (there is one dialog at a time).
GtkWidget* DialogWindow()
{
    GtkWidget* found = nullptr;
    GList* toplevels = gtk_window_list_toplevels();
    for (GList* item = toplevels; item != nullptr; item = item->next) {
        if (std::strcmp(gtk_widget_get_name(GTK_WIDGET(item->data)), "xvtui-window") == 0)
            found = GTK_WIDGET(item->data);
    }
    g_list_free(toplevels);
    return found;
}

// Caps Lock switched on through XTest for the scope, and off again after it
// (the private server lives as long as the test process).
class CapsLockOn {
public:
    CapsLockOn()
    {
        if (!m_x.CapsLockOn())
            m_x.PressKey("Caps_Lock");
        EXPECT_TRUE(m_x.CapsLockOn());
    }
    ~CapsLockOn()
    {
        if (m_x.CapsLockOn())
            m_x.PressKey("Caps_Lock");
    }

private:
    testkit::XClient m_x;
};

// One dialog of kind 2 or 3 built through the factory, with its widgets by name.
class EntryDialogGui : public GuiTest {
protected:
    void Build(int kind, const PasswordDialogInfo& info)
    {
        m_dialog = PasswordDialogFactory::CreatePasswordDialog(kind, info);
        ASSERT_NE(m_dialog, nullptr);
        m_window = DialogWindow();
        ASSERT_NE(m_window, nullptr);
    }
    void TearDown() override
    {
        m_dialog.reset();
        GuiTest::TearDown();
    }

    GtkWidget* Widget(const char* name) const { return FindNamed(m_window, name); }

    // Shows the window and gives it the keyboard focus as a window manager
    // would, so that focus changes inside it produce real focus-in events.
    void ShowFocused()
    {
        gtk_widget_show_all(m_window);
        ASSERT_TRUE(PumpUntil([&] { return gtk_widget_get_mapped(m_window) != FALSE; }));
        gdk_window_focus(gtk_widget_get_window(m_window), GDK_CURRENT_TIME);
        ASSERT_TRUE(PumpUntil([&] { return gtk_window_has_toplevel_focus(GTK_WINDOW(m_window)) != FALSE; }));
    }

    // Moves the keyboard focus to the named field and waits until it has it.
    void FocusField(const char* name)
    {
        GtkWidget* entry = Widget(name);
        gtk_widget_grab_focus(entry);
        ASSERT_TRUE(PumpUntil([&] { return gtk_widget_has_focus(entry) != FALSE; }));
    }

    // Types into the fields as one edit each (one "changed" per field).
    void Fill(const char* name, const char* text)
    {
        gtk_entry_set_text(GTK_ENTRY(Widget(name)), text);
    }

    std::string Hint() const { return gtk_label_get_text(GTK_LABEL(Widget("xvtui-hint"))); }
    bool OkSensitive() const { return gtk_widget_get_sensitive(Widget("xvtui-ok")) != FALSE; }

    std::unique_ptr<PasswordDialogBase> m_dialog;
    GtkWidget* m_window = nullptr;
};

std::string Lines(const char* a = "", const char* b = "", const char* c = "")
{
    return std::string(a) + "\n" + b + "\n" + c + "\n";
}

std::vector<GtkWidget*> Children(GtkWidget* container)
{
    std::vector<GtkWidget*> result;
    GList* children = gtk_container_get_children(GTK_CONTAINER(container));
    for (GList* item = children; item != nullptr; item = item->next)
        result.push_back(GTK_WIDGET(item->data));
    g_list_free(children);
    return result;
}

// Where a child sits in its table: left, right, top, bottom.
std::vector<guint> Attachment(GtkWidget* table, GtkWidget* child)
{
    guint left = 0, right = 0, top = 0, bottom = 0;
    gtk_container_child_get(GTK_CONTAINER(table), child, "left-attach", &left, "right-attach", &right, "top-attach",
                            &top, "bottom-attach", &bottom, nullptr);
    return {left, right, top, bottom};
}

using TwoEntryGui = EntryDialogGui;
using ThreeEntryGui = EntryDialogGui;

TEST_F(TwoEntryGui, FieldsFormATwoRowTable)
{
    Build(2, Request(0, 0));
    GtkWidget* table = Widget("xvtui-new-password-table");
    ASSERT_NE(table, nullptr);
    guint rows = 0, columns = 0;
    g_object_get(table, "n-rows", &rows, "n-columns", &columns, nullptr);
    EXPECT_EQ(rows, 2u);
    EXPECT_EQ(columns, 3u);
    EXPECT_TRUE(gtk_table_get_homogeneous(GTK_TABLE(table)));

    struct Row {
        const char* caption;
        const char* captionText;
        const char* entry;
        guint row;
    };
    const Row expectedRows[] = {{"xvtui-new-password-caption", "New PIN:", "xvtui-new-password-entry", 0},
                         {"xvtui-confirm-password-caption", "Confirm PIN:", "xvtui-confirm-password-entry", 1}};
    for (const Row& row : expectedRows) {
        SCOPED_TRACE(row.entry);
        GtkWidget* caption = Widget(row.caption);
        GtkWidget* entry = Widget(row.entry);
        ASSERT_TRUE(caption && entry);
        EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(caption)), row.captionText);
        EXPECT_EQ(Attachment(table, caption), (std::vector<guint>{0, 1, row.row, row.row + 1}));
        EXPECT_EQ(Attachment(table, entry), (std::vector<guint>{1, 3, row.row, row.row + 1}));
        EXPECT_FALSE(gtk_entry_get_visibility(GTK_ENTRY(entry)));
        EXPECT_EQ(gtk_entry_get_max_length(GTK_ENTRY(entry)), 24); // the new-password maximum
        EXPECT_TRUE(secure::IsSecureEntryBuffer(gtk_entry_get_buffer(GTK_ENTRY(entry))));
    }
    EXPECT_EQ(Widget("xvtui-password-entry"), nullptr); // no current-password field
    EXPECT_EQ(Hint(), Lines());
}

TEST_F(ThreeEntryGui, CurrentPasswordTableKeepsAnEmptyRowAsSpacing)
{
    Build(3, Request(0, 0));
    GtkWidget* currentTable = Widget("xvtui-password-table");
    GtkWidget* newTable = Widget("xvtui-new-password-table");
    ASSERT_TRUE(currentTable && newTable);
    guint rows = 0;
    g_object_get(currentTable, "n-rows", &rows, nullptr);
    EXPECT_EQ(rows, 2u);
    EXPECT_EQ(Children(currentTable).size(), 2u); // caption and field, both in row 0
    GtkWidget* current = Widget("xvtui-password-entry");
    ASSERT_NE(current, nullptr);
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(Widget("xvtui-password-caption"))), "Enter the password:");
    EXPECT_EQ(Attachment(currentTable, current), (std::vector<guint>{1, 3, 0, 1}));
    EXPECT_EQ(gtk_entry_get_max_length(GTK_ENTRY(current)), 16);
    EXPECT_EQ(gtk_entry_get_max_length(GTK_ENTRY(Widget("xvtui-new-password-entry"))), 24);
    EXPECT_FALSE(gtk_entry_get_visibility(GTK_ENTRY(current)));

    // Fields in order from top to bottom, the empty row taking a field's height.
    ShowFocused();
    GtkAllocation a{}, b{}, c{}, table{};
    gtk_widget_get_allocation(current, &a);
    gtk_widget_get_allocation(Widget("xvtui-new-password-entry"), &b);
    gtk_widget_get_allocation(Widget("xvtui-confirm-password-entry"), &c);
    gtk_widget_get_allocation(currentTable, &table);
    EXPECT_LT(a.y, b.y);
    EXPECT_LT(b.y, c.y);
    EXPECT_GE(table.height, 2 * a.height);
    EXPECT_GE(b.y - a.y, 2 * a.height);
    // The first field has the focus when the window opens.
    EXPECT_TRUE(gtk_widget_has_focus(current));
}

// With abc and abd, strength judged and Caps Lock on, the three lines are the
// mismatch, the not-secure warning and Caps Lock, in that order.
TEST_F(TwoEntryGui, MismatchNotSecureAndCapsLockInThatOrder)
{
    CapsLockOn capsLock;
    Build(2, Request(0, 0));
    ShowFocused(); // the focus-in reads the real Caps Lock state
    Fill("xvtui-new-password-entry", "abc");
    FocusField("xvtui-confirm-password-entry");
    Fill("xvtui-confirm-password-entry", "abd");
    EXPECT_EQ(Hint(), Lines(kNotEqual, kNewNotSecure, kCapsLock));
    EXPECT_FALSE(OkSensitive());
}

// Four warnings at once: mismatch, too short, not secure, Caps Lock; the
// fourth, Caps Lock, does not fit.
TEST_F(TwoEntryGui, FourWarningsDropCapsLock)
{
    CapsLockOn capsLock;
    for (int kind : {2, 3}) {
        SCOPED_TRACE(kind);
        Build(kind, Request(0, 8));
        ShowFocused();
        Fill("xvtui-new-password-entry", "abc");
        FocusField("xvtui-confirm-password-entry");
        Fill("xvtui-confirm-password-entry", "ab");
        EXPECT_EQ(Hint(), Lines(kNotEqual, kNewTooShort, kNewNotSecure));
        m_dialog.reset();
    }
}

// Until the confirmation field has had the focus the new password's strength
// is not judged; its first focus-in judges it at once, and the flag stays.
TEST_F(TwoEntryGui, NotSecureWarningWaitsForTheConfirmationFocus)
{
    for (int kind : {2, 3}) {
        SCOPED_TRACE(kind);
        Build(kind, Request(0, 0));
        ShowFocused();
        FocusField("xvtui-new-password-entry");
        Fill("xvtui-new-password-entry", "aaaa");
        Fill("xvtui-confirm-password-entry", "aaaa"); // set without focusing it
        EXPECT_EQ(Hint(), Lines());
        EXPECT_TRUE(OkSensitive());

        FocusField("xvtui-confirm-password-entry");
        EXPECT_EQ(Hint(), Lines(kNewNotSecure));
        EXPECT_TRUE(OkSensitive()); // a weak password is only warned about

        FocusField("xvtui-new-password-entry");
        Fill("xvtui-new-password-entry", "aaab");
        Fill("xvtui-confirm-password-entry", "aaab");
        EXPECT_EQ(Hint(), Lines(kNewNotSecure)); // still judged after the focus left
        Fill("xvtui-new-password-entry", "abcd");
        Fill("xvtui-confirm-password-entry", "abcd");
        EXPECT_EQ(Hint(), Lines()); // exactly 2 bits a character passes
        m_dialog.reset();
    }
}

// OK is sensitive only for equal fields that are long enough. Lengths count
// bytes: two Cyrillic letters are four.
TEST_F(TwoEntryGui, OkNeedsEqualFieldsOfTheMinimumLength)
{
    struct Case {
        const char* newPassword;
        const char* confirmation;
        bool ok;
        std::string hint;
    };
    const Case cases[] = {
        {"abcd", "abcd", true, Lines()},
        {"abc", "abc", false, Lines(kNewTooShort)},       // equal, one byte short
        {"", "", false, Lines(kNewTooShort)},
        {"abcdefgh", "abcdefgi", false, Lines(kNotEqual)}, // last byte differs
        {"Abcdefgh", "abcdefgh", false, Lines(kNotEqual)}, // first byte differs
        {"abcdefgh", "abcdefg", false, Lines(kNotEqual)},  // confirmation a prefix
        {"abcdefg", "abcdefgh", false, Lines(kNotEqual)},  // new password a prefix
        {"abcdefgh", "", false, Lines(kNotEqual)},
        {"ab", "abcdefgh", false, Lines(kNotEqual, kNewTooShort)},
        {"\xd0\xb0\xd0\xb1", "\xd0\xb0\xd0\xb1", true, Lines("Entered PIN contains not ASCII symbols")},
        {"\xd0\xb0", "\xd0\xb0", false, Lines(kNewTooShort, "Entered PIN contains not ASCII symbols")},
    };
    Build(2, Request(0, 4));
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.newPassword) + " / " + c.confirmation);
        Fill("xvtui-new-password-entry", c.newPassword);
        Fill("xvtui-confirm-password-entry", c.confirmation);
        EXPECT_EQ(OkSensitive(), c.ok);
        EXPECT_EQ(Hint(), c.hint);
    }
}

// The too-short warning names the current secret while that one is short,
// then the new one; OK waits for both minimums and for equal new fields.
TEST_F(ThreeEntryGui, TooShortNamesTheCurrentSecretFirst)
{
    struct Case {
        const char* current;
        const char* newPassword;
        const char* confirmation;
        bool ok;
        std::string hint;
    };
    const Case cases[] = {
        {"12", "ab", "ab", false, Lines(kCurrentTooShort)},
        {"12", "abcdef", "abcdef", false, Lines(kCurrentTooShort)},
        {"123", "ab", "ab", false, Lines(kNewTooShort)},
        {"123", "abcdef", "abcdef", true, Lines()},
        {"123456", "abcdef", "abcdeg", false, Lines(kNotEqual)},
        {"12", "abcdef", "abcde", false, Lines(kNotEqual, kCurrentTooShort)},
        {"", "", "", false, Lines(kCurrentTooShort)},
    };
    Build(3, Request(3, 6));
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.current) + " / " + c.newPassword + " / " + c.confirmation);
        Fill("xvtui-password-entry", c.current);
        Fill("xvtui-new-password-entry", c.newPassword);
        Fill("xvtui-confirm-password-entry", c.confirmation);
        EXPECT_EQ(OkSensitive(), c.ok);
        EXPECT_EQ(Hint(), c.hint);
    }
}

// The tries-left text ranks below the mismatch and above too short; with no
// tries information there is none.
TEST_F(ThreeEntryGui, TriesLeftWarning)
{
    struct Case {
        int tries;
        std::string hint;
    };
    const Case cases[] = {
        {2, Lines(kNotEqual, "Wrong password, 2 tries left", kCurrentTooShort)},
        {0x8000, Lines(kNotEqual, "Wrong password", kCurrentTooShort)},
        {0, Lines(kNotEqual, "There are no tries left", kCurrentTooShort)},
        {0xFFFF, Lines(kNotEqual, kCurrentTooShort)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.tries);
        Build(3, Request(4, 0, c.tries));
        Fill("xvtui-new-password-entry", "x");
        EXPECT_EQ(Hint(), c.hint);
        m_dialog.reset();
    }
}

// An accepted OK ends the dialog; the answer written afterwards holds the
// texts of the fields at that moment, byte for byte, even though the window
// and its fields are gone by then.
TEST_F(EntryDialogGui, AnswerAfterOk)
{
    struct Case {
        int kind;
        const char* current;
        const char* newPassword;
        std::string answer;
    };
    const Case cases[] = {
        {2, nullptr, "n3w XVTUI_passwd=", "XVTUI_passwd=n3w XVTUI_passwd="},
        {3, "XVTUI_passwd=old", "\xd0\xbd\xd0\xbe\xd0\xb2", "XVTUI_old_passwd=XVTUI_passwd=oldXVTUI_passwd=\xd0\xbd\xd0\xbe\xd0\xb2"},
        {3, "", "", "XVTUI_old_passwd=XVTUI_passwd="},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.answer);
        Build(c.kind, Request(0, 0));
        if (c.current != nullptr)
            Fill("xvtui-password-entry", c.current);
        Fill("xvtui-new-password-entry", c.newPassword);
        Fill("xvtui-confirm-password-entry", c.newPassword);
        ASSERT_TRUE(OkSensitive());
        GtkWidget* ok = Widget("xvtui-ok");
        WhenReady([ok] {
            gtk_button_clicked(GTK_BUTTON(ok));
            return true;
        });
        EXPECT_EQ(m_dialog->ShowDialog(), 0u);
        EXPECT_EQ(DialogWindow(), nullptr);

        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        std::fflush(stdout);
        const int saved = dup(STDOUT_FILENO);
        dup2(fds[1], STDOUT_FILENO);
        close(fds[1]);
        m_dialog->PrintResultToPipe();
        dup2(saved, STDOUT_FILENO);
        close(saved);
        std::string written;
        char buffer[256];
        for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;)
            written.append(buffer, static_cast<size_t>(n));
        close(fds[0]);
        EXPECT_EQ(written, c.answer);
        m_dialog.reset();
    }
}

// OK pressed on a too-short new password: refused, OK goes insensitive and
// the warning names the new secret.
TEST_F(TwoEntryGui, OkOnTooShortIsRefused)
{
    Build(2, Request(0, 4));
    EXPECT_EQ(Hint(), Lines()); // nothing typed yet: no length warning
    gtk_button_clicked(GTK_BUTTON(Widget("xvtui-ok")));
    EXPECT_NE(DialogWindow(), nullptr);
    EXPECT_FALSE(OkSensitive());
    EXPECT_EQ(Hint(), Lines(kNewTooShort));
}

} // namespace
