// What every password dialog shares, and the PIN dialog's own parts (the check
// boxes, Caps Lock through XKB and XTest, the clipboard guard), on a real X server.
#include "PasswordGuiSupport.h"

#include <gdk/gdkx.h>

#include <vector>

#include "base/secure/SecureEntryBuffer.h"

namespace {

using namespace pwtest;
using OneEntryDialog = PasswordGui;
using PasswordDialogs = PasswordGui;

bool IsGrey(GtkWidget* widget)
{
    GtkRcStyle* style = gtk_widget_get_modifier_style(widget);
    GdkColor grey{};
    gdk_color_parse("grey", &grey);
    return (style->color_flags[GTK_STATE_NORMAL] & GTK_RC_FG) != 0 && gdk_color_equal(&style->fg[GTK_STATE_NORMAL], &grey);
}

// Two rows without a container name, three with one; an inactive carrier
// greys its row, caption and value alike.
TEST_F(OneEntryDialog, InformationTable)
{
    const std::pair<const char*, bool> cases[] = {{"", true}, {"container-1", false}};
    for (const auto& [container, carrierActive] : cases) {
        SCOPED_TRACE(container);
        PasswordDialogInfo info = Request();
        info.containerName = container;
        info.carrierActive = carrierActive;
        Dialog d(1, info);
        guint rows = 0, columns = 0;
        gtk_table_get_size(GTK_TABLE(d.W("xvtui-info-table")), &rows, &columns);
        EXPECT_EQ(rows, *container != 0 ? 3u : 2u);
        EXPECT_EQ(d.W("xvtui-container-name") != nullptr, *container != 0);
        EXPECT_EQ(d.Label("xvtui-reader-name") + d.Label("xvtui-carrier-name"), "Reader 7Carrier 42");
        EXPECT_EQ(IsGrey(d.W("xvtui-carrier-caption")), !carrierActive);
        EXPECT_EQ(IsGrey(d.W("xvtui-carrier-name")), !carrierActive);
        EXPECT_FALSE(IsGrey(d.W("xvtui-reader-name")));
        EXPECT_EQ(d.Hint(), Lines());
    }
}

// Every entry is masked, on a secure buffer, limited to its maximum and
// captioned from the catalogue; the first one has the focus.
TEST_F(PasswordDialogs, EntriesOfEachKind)
{
    const struct {
        int kind;
        const char* entry;
        const char* captionName;
        const char* caption;
    } cases[] = {
        {1, kCurrent, "xvtui-password-caption", "Enter the password:"},
        {2, kNew, "xvtui-new-password-caption", "New PIN:"},
        {3, kCurrent, "xvtui-password-caption", "Enter the password:"},
        {3, kNew, "xvtui-new-password-caption", "New PIN:"},
        {3, kConfirm, "xvtui-confirm-password-caption", "Confirm PIN:"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.kind) + " " + c.entry);
        Dialog d(c.kind, Request());
        GtkEntry* entry = GTK_ENTRY(d.W(c.entry));
        ASSERT_NE(entry, nullptr);
        EXPECT_TRUE(secure::IsSecureEntryBuffer(gtk_entry_get_buffer(entry)));
        EXPECT_FALSE(gtk_entry_get_visibility(entry));
        EXPECT_EQ(gtk_entry_get_max_length(entry), c.entry == kCurrent ? 16 : 24);
        EXPECT_EQ(d.Label(c.captionName), c.caption);
        d.Show();
        EXPECT_EQ(gtk_widget_has_focus(d.W(c.kind == 2 ? kNew : kCurrent)), TRUE);
    }
}

std::string BoxState(GtkWidget* box)
{
    return std::string(gtk_widget_get_visible(box) ? "shown" : "hidden") +
           (gtk_widget_get_sensitive(box) ? " changeable" : " fixed") +
           (gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(box)) ? " ticked" : " unticked");
}

// Bit 0 shows a box, bit 1 lets it change, bit 2 ticks it; the rest is
// ignored. A box hidden at set-up comes back with the show-all.
TEST_F(OneEntryDialog, ControlWordsDriveTheBoxes)
{
    const struct {
        std::uint32_t save, dontCache;
        const char* saveBox;
        const char* dontCacheBox;
        const char* flags;
    } cases[] = {
        {0, 0, "shown changeable unticked", "shown changeable unticked", "falseXVTUI_dont_cache=false"},
        {7, 7, "shown changeable ticked", "shown changeable ticked", "trueXVTUI_dont_cache=true"},
        {5, 6, "shown fixed ticked", "shown changeable unticked", "trueXVTUI_dont_cache=false"},
        {0x107, 1, "shown changeable ticked", "shown fixed unticked", "trueXVTUI_dont_cache=false"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.save) + "/" + std::to_string(c.dontCache));
        Dialog d(1, Request(), c.save, c.dontCache);
        d.Show();
        EXPECT_EQ(BoxState(d.W("xvtui-save-box")), c.saveBox);
        EXPECT_EQ(BoxState(d.W("xvtui-dont-cache-box")), c.dontCacheBox);
        d.Fill(kCurrent, "1234");
        d.ClickOk();
        EXPECT_EQ(d.Answer().view(), std::string("XVTUI_save_passwd=") + c.flags + "XVTUI_passwd=1234");
    }
}

TEST_F(OneEntryDialog, BoxesExcludeEachOther)
{
    Dialog d(1, Request(), 3, 7);
    auto* save = GTK_TOGGLE_BUTTON(d.W("xvtui-save-box"));
    auto* dontCache = GTK_TOGGLE_BUTTON(d.W("xvtui-dont-cache-box"));
    const struct {
        GtkToggleButton* clicked;
        bool save, dontCache;
    } steps[] = {{save, true, false}, {dontCache, false, true}, {dontCache, false, false}, {save, true, false}};
    for (const auto& step : steps) {
        gtk_button_clicked(GTK_BUTTON(step.clicked));
        EXPECT_EQ(gtk_toggle_button_get_active(save) != FALSE, step.save);
        EXPECT_EQ(gtk_toggle_button_get_active(dontCache) != FALSE, step.dontCache);
    }
}

// OK on a too-short secret is refused and goes insensitive; the byte that
// reaches the minimum enables it (a two-byte character counts two).
TEST_F(PasswordDialogs, OkWaitsForTheMinimumLengthInBytes)
{
    for (int kind : {1, 2}) {
        SCOPED_TRACE(kind);
        Dialog d(kind, Request(4, 4));
        const auto type = [&](const char* text) {
            for (const char* entry : kind == 1 ? std::vector{kCurrent} : std::vector{kNew, kConfirm})
                d.Fill(entry, text);
        };
        EXPECT_EQ(d.Hint(), Lines()); // not judged before a change or OK
        d.ClickOk();
        ASSERT_NE(d.Window(), nullptr);
        EXPECT_FALSE(d.OkSensitive());
        EXPECT_EQ(d.Hint(), Lines(kind == 1 ? "Entered password is too short" : "Entered PIN is too short"));
        const std::pair<const char*, bool> steps[] = {
            {"abc", false}, {"a\xD1\x8F", false}, {"abcd", true}, {"ab\xD1\x8F", true}};
        for (const auto& [text, ok] : steps) {
            type(text);
            EXPECT_EQ(d.OkSensitive(), ok) << text;
            if (!ok) {
                d.ClickOk();
                ASSERT_NE(d.Window(), nullptr) << text << " accepted";
            }
        }
        d.ClickOk();
        EXPECT_EQ(d.Window(), nullptr);
        EXPECT_EQ(d.Answer().view(), std::string(kind == 1 ? "XVTUI_save_passwd=falseXVTUI_dont_cache=false" : "") +
                                  "XVTUI_passwd=ab\xD1\x8F");
    }
}

// Ranked below a mismatch and above too short; nothing without tries information.
TEST_F(PasswordDialogs, TriesLeftWarningOnlyWithSomethingToSay)
{
    const struct {
        int kind, tries;
        std::string hint;
    } cases[] = {
        {1, 2, Lines("Wrong password, 2 tries left", "Entered password is too short")},
        {1, 0xFFFF, Lines("Entered password is too short")},
        {3, 2, Lines("Input and confirmation do not match", "Wrong password, 2 tries left", "Entered password is too short")},
        {3, 0xFFFF, Lines("Input and confirmation do not match", "Entered password is too short")},
    };
    for (const auto& c : cases) {
        Dialog d(c.kind, Request(4, 0, c.tries));
        d.Fill(c.kind == 1 ? kCurrent : kNew, "x");
        EXPECT_EQ(d.Hint(), c.hint) << c.kind << "/" << c.tries;
    }
}

// The warning follows the real XKB state at every focus-in, and a Caps_Lock
// press in the dialog toggles it.
TEST_F(OneEntryDialog, CapsLockWarningFollowsXkb)
{
    const std::string caps = Lines("Caps Lock button is on");
    Dialog d(1, Request());
    d.Show();
    testkit::XClient x;
    const auto pressCapsLockAway = [&] {
        XSetInputFocus(x.Dpy(), None, RevertToNone, CurrentTime);
        x.Sync();
        ASSERT_TRUE(RunUntil([&] { return !gtk_window_has_toplevel_focus(GTK_WINDOW(d.Window())); }));
        x.PressKey("Caps_Lock");
        x.Focus(GDK_WINDOW_XID(gtk_widget_get_window(d.Window())));
        ASSERT_TRUE(RunUntil([&] { return gtk_window_has_toplevel_focus(GTK_WINDOW(d.Window())) != FALSE; }));
    };
    pressCapsLockAway();
    EXPECT_TRUE(RunUntil([&] { return d.Hint() == caps; })) << d.Hint();
    x.PressKey("Caps_Lock");
    EXPECT_TRUE(RunUntil([&] { return d.Hint() == Lines(); })) << d.Hint();
    x.PressKey("Caps_Lock");
    EXPECT_TRUE(RunUntil([&] { return d.Hint() == caps; })) << d.Hint();
    pressCapsLockAway(); // switched off: the focus-in corrects the belief
    EXPECT_TRUE(RunUntil([&] { return d.Hint() == Lines(); })) << d.Hint();
    EXPECT_FALSE(x.CapsLockOn());
}

TEST_F(OneEntryDialog, CopyingLeavesBothSelectionsEmpty)
{
    Dialog d(1, Request());
    d.Show();
    GtkWidget* entry = d.W(kCurrent);
    GtkClipboard* clipboard = gtk_widget_get_clipboard(entry, GDK_SELECTION_CLIPBOARD);
    GtkClipboard* primary = gtk_widget_get_clipboard(entry, GDK_SELECTION_PRIMARY);
    gtk_clipboard_set_text(clipboard, "earlier text", -1);
    d.Fill(kCurrent, "s3cret");
    gtk_widget_grab_focus(entry);
    gtk_editable_select_region(GTK_EDITABLE(entry), 0, -1);
    for (const char* action : {"copy-clipboard", "cut-clipboard"}) {
        g_signal_emit_by_name(entry, action);
        for (GtkClipboard* selection : {clipboard, primary}) {
            gchar* text = gtk_clipboard_wait_for_text(selection);
            EXPECT_TRUE(text == nullptr || *text == '\0') << action << (selection == primary ? " PRIMARY " : " ") << text;
            g_free(text);
        }
    }
    EXPECT_STREQ(gtk_entry_get_text(GTK_ENTRY(entry)), "s3cret");
}

} // namespace
