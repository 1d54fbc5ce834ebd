// The one-entry PIN dialog on a real X server: its information table, the
// check boxes and their control words, the length rule, the warnings, Caps
// Lock through XKB and XTest, and the clipboard guard.
#include "PasswordGuiSupport.h"

#include <gdk/gdkx.h>

#include "base/secure/SecureEntryBuffer.h"
#include "common/XClient.h"
#include "dialogs/password/PasswordDialogOneEntry.h"
#include "l10n/CSPLocalizer.h"
#include "l10n/VtuiLogic.h"

namespace {

using namespace pwtest;

// The dialog with the accessors the tests need.
class OneEntry : public PasswordDialogOneEntry {
public:
    using PasswordDialogOneEntry::PasswordDialogOneEntry;
    GtkWidget* Window() const { return m_window; }
    GtkWidget* Named(const char* name) const { return FindNamed(m_window, name); }
    GtkWidget* Ok() const { return m_okButton; }
    GtkEntry* Entry() const { return GTK_ENTRY(Named("xvtui-password-entry")); }
    GtkToggleButton* Box(const char* name) const { return GTK_TOGGLE_BUTTON(Named(name)); }
    std::string Hint() const { return LabelText(Named("xvtui-hint")); }
    void Cancel()
    {
        if (m_window != nullptr)
            OnCancelClicked();
    }
    void Append(const char* text)
    {
        gint position = gtk_editable_get_position(GTK_EDITABLE(Entry()));
        position = static_cast<gint>(gtk_entry_get_text_length(Entry()));
        gtk_editable_insert_text(GTK_EDITABLE(Entry()), text, -1, &position);
    }
    bool OkSensitive() const { return gtk_widget_is_sensitive(m_okButton) != FALSE; }
};

std::uint32_t RunOneEntry(OneEntry& dialog, const std::function<void()>& body)
{
    return RunDialog(dialog, body, [&] { dialog.Cancel(); });
}

// What the dialog writes to standard output.
std::string Answer(const OneEntry& dialog)
{
    StdoutCapture capture;
    dialog.PrintResultToPipe();
    return capture.Take();
}

bool HasForeground(GtkWidget* widget, const char* colorName)
{
    GtkRcStyle* style = gtk_widget_get_modifier_style(widget);
    GdkColor expected{};
    gdk_color_parse(colorName, &expected);
    return (style->color_flags[GTK_STATE_NORMAL] & GTK_RC_FG) != 0 &&
           gdk_color_equal(&style->fg[GTK_STATE_NORMAL], &expected);
}

using OneEntryDialog = PasswordGuiTest;

TEST_F(OneEntryDialog, InformationTableRowsAndInactiveCarrier)
{
    struct Case {
        const char* container;
        bool carrierActive;
        guint rows;
    };
    for (const Case& c : {Case{"", true, 2}, Case{"container-1", false, 3}, Case{"c", true, 3}}) {
        StdinFeed feed = StdinFeed::Words(3, 3);
        PasswordDialogInfo info = PinRequest();
        info.containerName = c.container;
        info.carrierActive = c.carrierActive;
        OneEntry dialog(info);
        SCOPED_TRACE(std::string("container \"") + c.container + "\"");

        GtkWidget* table = dialog.Named("xvtui-info-table");
        ASSERT_NE(table, nullptr);
        guint rows = 0, columns = 0;
        gtk_table_get_size(GTK_TABLE(table), &rows, &columns);
        EXPECT_EQ(rows, c.rows);
        EXPECT_EQ(columns, 3u);
        EXPECT_EQ(dialog.Named("xvtui-container-name") != nullptr, c.rows == 3);
        if (c.rows == 3) {
            EXPECT_EQ(LabelText(dialog.Named("xvtui-container-name")), c.container);
            EXPECT_EQ(LabelText(dialog.Named("xvtui-container-caption")), "Container:");
        }
        EXPECT_EQ(LabelText(dialog.Named("xvtui-reader-name")), "Reader 7");
        EXPECT_EQ(LabelText(dialog.Named("xvtui-carrier-name")), "Carrier 42");
        EXPECT_EQ(LabelText(dialog.Named("xvtui-header")), info.header);

        // Only the carrier row, caption and value, is greyed.
        EXPECT_EQ(HasForeground(dialog.Named("xvtui-carrier-caption"), "grey"), !c.carrierActive);
        EXPECT_EQ(HasForeground(dialog.Named("xvtui-carrier-name"), "grey"), !c.carrierActive);
        EXPECT_FALSE(HasForeground(dialog.Named("xvtui-reader-caption"), "grey"));
        EXPECT_FALSE(HasForeground(dialog.Named("xvtui-reader-name"), "grey"));
        EXPECT_TRUE(HasForeground(dialog.Named("xvtui-hint"), "brown"));

        EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(dialog.Window())), "PIN request");
        // The catalogue's caption (text 2141, one %s) with the PIN word.
        const std::string catalogueCaption = CSPLocalizer().Localize(2141);
        ASSERT_FALSE(catalogueCaption.empty());
        EXPECT_EQ(LabelText(dialog.Named("xvtui-password-caption")),
                  PasswordWarnings::PrintToString(catalogueCaption, "PIN"));
        EXPECT_EQ(dialog.Hint(), "\n\n\n");
    }
}

TEST_F(OneEntryDialog, ControlWordsDriveTheBoxes)
{
    struct BoxState {
        bool visible, sensitive, active;
    };
    struct Case {
        const char* label;
        std::vector<unsigned char> input;
        BoxState saveAtSetUp, dontCacheAtSetUp; // before the window is shown
        BoxState saveShown, dontCacheShown;     // after the show-all
        const char* answerFlags;
    };
    const BoxState hidden{false, true, false}, plain{true, true, false}, ticked{true, true, true},
        fixedTicked{true, false, true}, fixed{true, false, false};
    const Case cases[] = {
        {"0/0", {0, 0, 0, 0, 0, 0, 0, 0}, hidden, hidden, plain, plain,
         "XVTUI_save_passwd=falseXVTUI_dont_cache=false"},
        {"7/7", {7, 0, 0, 0, 7, 0, 0, 0}, ticked, ticked, ticked, ticked, "XVTUI_save_passwd=trueXVTUI_dont_cache=true"},
        {"5/3", {5, 0, 0, 0, 3, 0, 0, 0}, fixedTicked, plain, fixedTicked, plain,
         "XVTUI_save_passwd=trueXVTUI_dont_cache=false"},
        {"0x107/1", {7, 1, 0, 0, 1, 0, 0, 0}, ticked, fixed, ticked, fixed,
         "XVTUI_save_passwd=trueXVTUI_dont_cache=false"},
        {"short input", {7, 0, 0, 0, 5}, ticked, hidden, ticked, plain,
         "XVTUI_save_passwd=trueXVTUI_dont_cache=false"},
        {"no input", {}, hidden, hidden, plain, plain, "XVTUI_save_passwd=falseXVTUI_dont_cache=false"},
    };
    const auto expectState = [](GtkToggleButton* box, const BoxState& state, const std::string& what) {
        ASSERT_NE(box, nullptr) << what;
        // Before the show-all nothing is visible yet, hidden or not.
        if (what.find("shown") != std::string::npos) {
            EXPECT_EQ(gtk_widget_get_visible(GTK_WIDGET(box)) != FALSE, state.visible) << what;
        }
        EXPECT_EQ(gtk_widget_get_sensitive(GTK_WIDGET(box)) != FALSE, state.sensitive) << what;
        EXPECT_EQ(gtk_toggle_button_get_active(box) != FALSE, state.active) << what;
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        StdinFeed feed(c.input);
        OneEntry dialog(PinRequest());
        expectState(dialog.Box("xvtui-save-box"), c.saveAtSetUp, "save box at set-up");
        expectState(dialog.Box("xvtui-dont-cache-box"), c.dontCacheAtSetUp, "don't-cache box at set-up");

        const std::uint32_t result = RunOneEntry(dialog, [&] {
            ASSERT_TRUE(RunUntil([&] { return IsMappedOnServer(dialog.Window()); }));
            expectState(dialog.Box("xvtui-save-box"), c.saveShown, "save box shown");
            expectState(dialog.Box("xvtui-dont-cache-box"), c.dontCacheShown, "don't-cache box shown");
            dialog.Append("1234");
            gtk_button_clicked(GTK_BUTTON(dialog.Ok()));
        });
        EXPECT_EQ(result, 0u);
        EXPECT_EQ(Answer(dialog), std::string(c.answerFlags) + "XVTUI_passwd=1234");
    }
}

TEST_F(OneEntryDialog, BoxesExcludeEachOtherAndReportTheUsersTick)
{
    StdinFeed feed = StdinFeed::Words(3, 7);
    OneEntry dialog(PinRequest());
    GtkToggleButton* save = dialog.Box("xvtui-save-box");
    GtkToggleButton* dontCache = dialog.Box("xvtui-dont-cache-box");
    const auto states = [&] {
        return std::make_pair(gtk_toggle_button_get_active(save) != FALSE,
                              gtk_toggle_button_get_active(dontCache) != FALSE);
    };
    const std::uint32_t result = RunOneEntry(dialog, [&] {
        ASSERT_TRUE(RunUntil([&] { return IsMappedOnServer(dialog.Window()); }));
        EXPECT_EQ(states(), std::make_pair(false, true));
        gtk_button_clicked(GTK_BUTTON(save)); // tick save: don't-cache goes
        EXPECT_EQ(states(), std::make_pair(true, false));
        gtk_button_clicked(GTK_BUTTON(dontCache)); // and the reverse
        EXPECT_EQ(states(), std::make_pair(false, true));
        gtk_button_clicked(GTK_BUTTON(dontCache)); // unticking changes nothing else
        EXPECT_EQ(states(), std::make_pair(false, false));
        gtk_button_clicked(GTK_BUTTON(save));
        gtk_button_clicked(GTK_BUTTON(dialog.Ok()));
    });
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(Answer(dialog), "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd=");
}

TEST_F(OneEntryDialog, OkWaitsForTheMinimumLengthInBytes)
{
    StdinFeed feed = StdinFeed::Words(3, 3);
    PasswordDialogInfo info = PinRequest();
    info.minPasswordLength = 4;
    OneEntry dialog(info);
    const std::string tooShort = "Entered PIN is too short\n\n\n";
    const std::uint32_t result = RunOneEntry(dialog, [&] {
        ASSERT_TRUE(RunUntil([&] { return IsMappedOnServer(dialog.Window()); }));
        // Before any keystroke or OK the length is not judged.
        EXPECT_EQ(dialog.Hint(), "\n\n\n");
        gtk_button_clicked(GTK_BUTTON(dialog.Ok()));
        ASSERT_NE(dialog.Window(), nullptr) << "OK with an empty PIN was accepted";
        EXPECT_FALSE(dialog.OkSensitive());
        EXPECT_EQ(dialog.Hint(), tooShort);

        struct Step {
            const char* append;
            bool okSensitive;
        };
        for (const Step& step : {Step{"a", false}, Step{"b", false}, Step{"c", false}, Step{"d", true}}) {
            dialog.Append(step.append);
            EXPECT_EQ(dialog.OkSensitive(), step.okSensitive) << "after " << step.append;
        }
        EXPECT_EQ(dialog.Hint(), "\n\n\n");

        // A two-byte character counts two: "a" + "я" is 3 bytes, "ab" + "я" 4.
        gtk_editable_delete_text(GTK_EDITABLE(dialog.Entry()), 1, -1);
        dialog.Append("\xD1\x8F");
        EXPECT_FALSE(dialog.OkSensitive());
        EXPECT_EQ(dialog.Hint(), "Entered PIN is too short\nEntered PIN contains not ASCII symbols\n\n");
        gtk_button_clicked(GTK_BUTTON(dialog.Ok()));
        ASSERT_NE(dialog.Window(), nullptr) << "OK with 3 bytes was accepted";

        gint position = 1;
        gtk_editable_insert_text(GTK_EDITABLE(dialog.Entry()), "b", -1, &position);
        EXPECT_TRUE(dialog.OkSensitive());
        gtk_button_clicked(GTK_BUTTON(dialog.Ok()));
    });
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(Answer(dialog), "XVTUI_save_passwd=falseXVTUI_dont_cache=falseXVTUI_passwd=ab\xD1\x8F");
}

TEST_F(OneEntryDialog, EntryIsMaskedSecureAndLimited)
{
    struct Case {
        int maxLength;
        const char* typed;
        const char* kept;
    };
    for (const Case& c : {Case{3, "abcdef", "abc"}, Case{0, "abcdef", "abcdef"}, Case{-1, "abcdef", "abcdef"}}) {
        StdinFeed feed = StdinFeed::Words(3, 3);
        PasswordDialogInfo info = PinRequest();
        info.maxPasswordLength = c.maxLength;
        OneEntry dialog(info);
        GtkEntry* entry = dialog.Entry();
        ASSERT_NE(entry, nullptr);
        EXPECT_TRUE(secure::IsSecureEntryBuffer(gtk_entry_get_buffer(entry)));
        EXPECT_FALSE(gtk_entry_get_visibility(entry));
        EXPECT_TRUE(gtk_entry_get_activates_default(entry));
        dialog.Append(c.typed);
        EXPECT_STREQ(gtk_entry_get_text(entry), c.kept) << "max " << c.maxLength;
    }
}

TEST_F(OneEntryDialog, TriesLeftWarningOnlyWhenThereIsSomethingToSay)
{
    for (std::int32_t tries : {2, 0, 0x8000, 0xFFFF}) {
        StdinFeed feed = StdinFeed::Words(3, 3);
        PasswordDialogInfo info = PinRequest();
        info.triesLeft = tries;
        OneEntry dialog(info);
        dialog.Append("x");
        const std::string text = VtuiLogic::get_tries_warning_string(static_cast<unsigned>(tries), "PIN");
        EXPECT_EQ(dialog.Hint(), text.empty() ? "\n\n\n" : text + "\n\n\n") << tries;
    }
}

TEST_F(OneEntryDialog, CapsLockWarningFollowsXkb)
{
    StdinFeed feed = StdinFeed::Words(3, 3);
    OneEntry dialog(PinRequest());
    const std::string caps = "Caps Lock button is on\n\n\n";
    RunOneEntry(dialog, [&] {
        ASSERT_TRUE(RunUntil([&] { return IsMappedOnServer(dialog.Window()); }));
        testkit::XClient client;
        const Window xid = GDK_WINDOW_XID(gtk_widget_get_window(dialog.Window()));
        const auto unfocus = [&] {
            XSetInputFocus(client.Dpy(), None, RevertToNone, CurrentTime);
            client.Sync();
            ASSERT_TRUE(RunUntil([&] { return !gtk_window_has_toplevel_focus(GTK_WINDOW(dialog.Window())); }));
        };
        const auto focus = [&] {
            client.Focus(xid);
            ASSERT_TRUE(RunUntil([&] { return gtk_window_has_toplevel_focus(GTK_WINDOW(dialog.Window())) != FALSE; }));
        };
        unfocus();
        if (client.CapsLockOn())
            client.PressKey("Caps_Lock");
        ASSERT_FALSE(client.CapsLockOn());

        // Switched on while another window has the keyboard: the focus-in reads it.
        client.PressKey("Caps_Lock");
        ASSERT_TRUE(client.CapsLockOn());
        focus();
        EXPECT_TRUE(RunUntil([&] { return dialog.Hint() == caps; })) << dialog.Hint();

        // Pressed in the dialog: the warning goes, and comes back.
        client.PressKey("Caps_Lock");
        EXPECT_TRUE(RunUntil([&] { return dialog.Hint() == "\n\n\n"; })) << dialog.Hint();
        EXPECT_FALSE(client.CapsLockOn());
        client.PressKey("Caps_Lock");
        EXPECT_TRUE(RunUntil([&] { return dialog.Hint() == caps; })) << dialog.Hint();
        EXPECT_TRUE(client.CapsLockOn());

        // Switched off elsewhere: the next focus-in corrects the belief.
        unfocus();
        client.PressKey("Caps_Lock");
        EXPECT_EQ(dialog.Hint(), caps);
        focus();
        EXPECT_TRUE(RunUntil([&] { return dialog.Hint() == "\n\n\n"; })) << dialog.Hint();
        EXPECT_FALSE(client.CapsLockOn());
    });
}

TEST_F(OneEntryDialog, CopyingLeavesBothSelectionsEmpty)
{
    StdinFeed feed = StdinFeed::Words(3, 3);
    OneEntry dialog(PinRequest());
    RunOneEntry(dialog, [&] {
        ASSERT_TRUE(RunUntil([&] { return IsMappedOnServer(dialog.Window()); }));
        GtkWidget* entry = GTK_WIDGET(dialog.Entry());
        GtkClipboard* clipboard = gtk_widget_get_clipboard(entry, GDK_SELECTION_CLIPBOARD);
        GtkClipboard* primary = gtk_widget_get_clipboard(entry, GDK_SELECTION_PRIMARY);
        gtk_clipboard_set_text(clipboard, "earlier text", -1);
        dialog.Append("s3cret");
        gtk_widget_grab_focus(entry);
        gtk_editable_select_region(GTK_EDITABLE(entry), 0, -1);

        for (const char* action : {"copy-clipboard", "cut-clipboard"}) {
            g_signal_emit_by_name(entry, action);
            for (GtkClipboard* selection : {clipboard, primary}) {
                gchar* text = gtk_clipboard_wait_for_text(selection);
                EXPECT_TRUE(text == nullptr || *text == '\0')
                    << action << (selection == primary ? " PRIMARY: " : " CLIPBOARD: ") << text;
                g_free(text);
            }
        }
        EXPECT_STREQ(gtk_entry_get_text(dialog.Entry()), "s3cret");
    });
}

} // namespace
