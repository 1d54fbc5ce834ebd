// After a PIN dialog has answered and been deleted, no copy of the typed PIN
// is left in the process: the heap, the anonymous mappings and the stack are
// searched for any eight consecutive bytes of it, in UTF-8 and as the wide
// characters of the non-ASCII test. The PIN is typed key by key through XTest
// and never exists whole in the test except as the needle, which is built
// only at search time, in secure storage that the search skips.
#include "PasswordGuiSupport.h"

#include <gdk/gdkx.h>

#include <cwchar>
#include <fstream>
#include <sstream>

#include "base/secure/SecureString.h"
#include "common/XClient.h"
#include "dialogs/password/PasswordDialogOneEntry.h"

namespace {

using namespace pwtest;

// The PIN, in pieces; only Needle() puts them together. It is long enough
// that a freed heap chunk keeps a run of it past the allocator's own
// bookkeeping, which overwrites the first 16 bytes of a freed chunk.
const char* const kPieces[] = {"Qz7", "Kp2", "Wx9", "Mv4", "Jt6", "Hb8", "Rc5", "Ny3", "Gd1", "Fs0", "Lu7", "Ew2"};
constexpr std::size_t kPinLength = 36;
constexpr std::size_t kWindow = 8; // bytes of the PIN that count as a copy

secure::String Needle()
{
    secure::String needle;
    for (const char* piece : kPieces)
        needle.append(piece, 3);
    return needle;
}

class OneEntry : public PasswordDialogOneEntry {
public:
    using PasswordDialogOneEntry::PasswordDialogOneEntry;
    GtkWidget* Window() const { return m_window; }
    void Cancel()
    {
        if (m_window != nullptr)
            OnCancelClicked();
    }
};

struct Region {
    std::uintptr_t begin, end;
    std::string name;
};

// The writable private mappings without a file: heap, stacks, anonymous.
std::vector<Region> WritableAnonymousRegions()
{
    std::vector<Region> regions;
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (std::getline(maps, line)) {
        std::istringstream fields(line);
        std::string range, perms, offset, device, inode, path;
        fields >> range >> perms >> offset >> device >> inode;
        std::getline(fields >> std::ws, path);
        if (perms.size() < 2 || perms[0] != 'r' || perms[1] != 'w')
            continue;
        if (!path.empty() && path != "[heap]" && path != "[stack]")
            continue;
        const std::size_t dash = range.find('-');
        regions.push_back({std::stoul(range.substr(0, dash), nullptr, 16),
                           std::stoul(range.substr(dash + 1), nullptr, 16), path.empty() ? "anonymous" : path});
    }
    return regions;
}

// Where in memory any `window`-byte run of `needle` occurs, outside
// [skipBegin, skipEnd). One pass over each region: a pair of bytes that starts
// no run is skipped at once, the others are compared with every run.
// Runs start every `step` bytes of the needle (a character's size).
std::vector<std::string> FindCopies(const unsigned char* needle, std::size_t size, std::size_t window,
                                    std::size_t step, std::uintptr_t skipBegin, std::uintptr_t skipEnd)
{
    std::vector<bool> startsRun(65536);
    const auto pair = [](const unsigned char* p) { return (static_cast<unsigned>(p[0]) << 8) | p[1]; };
    for (std::size_t start = 0; start + window <= size; start += step)
        startsRun[pair(needle + start)] = true;
    std::vector<std::string> found;
    for (const Region& region : WritableAnonymousRegions()) {
        const auto* memory = reinterpret_cast<const unsigned char*>(region.begin);
        const std::size_t length = region.end - region.begin;
        bool reported = false;
        for (std::size_t at = 0; !reported && at + window <= length; ++at) {
            if (!startsRun[pair(memory + at)])
                continue;
            const std::uintptr_t address = region.begin + at;
            if (address >= skipBegin && address < skipEnd)
                continue;
            for (std::size_t start = 0; start + window <= size; start += step) {
                if (std::memcmp(memory + at, needle + start, window) == 0) {
                    std::ostringstream where;
                    where << region.name << " +0x" << std::hex << at;
                    found.push_back(where.str());
                    reported = true; // one report per region is enough
                    break;
                }
            }
        }
    }
    return found;
}

using SecretGone = PasswordGuiTest;

TEST_F(SecretGone, NoCopyOfTheTypedPinRemains)
{
#if defined(__SANITIZE_ADDRESS__)
    // Its shadow mappings look like anonymous memory but are not all readable.
    GTEST_SKIP() << "the memory scan cannot run under AddressSanitizer";
#endif
    std::uint32_t result = 1;
    {
        StdinFeed feed = StdinFeed::Words(7, 1);
        OneEntry dialog(PinRequest());
        result = RunDialog(
            dialog,
            [&] {
                ASSERT_TRUE(RunUntil([&] { return IsMappedOnServer(dialog.Window()); }));
                testkit::XClient client;
                if (client.CapsLockOn()) {
                    XSetInputFocus(client.Dpy(), None, RevertToNone, CurrentTime);
                    client.PressKey("Caps_Lock");
                }
                client.Focus(GDK_WINDOW_XID(gtk_widget_get_window(dialog.Window())));
                GtkWidget* entry = FindNamed(dialog.Window(), "xvtui-password-entry");
                ASSERT_TRUE(RunUntil([&] { return gtk_window_has_toplevel_focus(GTK_WINDOW(dialog.Window())); }));
                gtk_widget_grab_focus(entry);
                for (const char* piece : kPieces) {
                    for (int i = 0; i < 3; ++i)
                        client.TypeText(std::string_view(piece + i, 1));
                }
                ASSERT_TRUE(RunUntil([&] { return gtk_entry_get_text_length(GTK_ENTRY(entry)) == kPinLength; }));
                client.PressKey("Return"); // the default button: OK
                ASSERT_TRUE(RunUntil([&] { return dialog.Window() == nullptr; }));
            },
            [&] { dialog.Cancel(); });
        ASSERT_EQ(result, 0u);

        // The answer, checked piece by piece and wiped.
        StdoutCapture capture;
        dialog.PrintResultToPipe();
        char answer[256];
        const std::size_t size = capture.TakeInto(answer, sizeof answer);
        const std::string_view prefix = "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd=";
        EXPECT_EQ(size, prefix.size() + kPinLength);
        EXPECT_EQ(std::string_view(answer, prefix.size()), prefix);
        for (std::size_t i = 0; i < kPinLength && prefix.size() + i < size; ++i)
            EXPECT_EQ(answer[prefix.size() + i], kPieces[i / 3][i % 3]) << "PIN byte " << i;
        secure::Wipe(answer, sizeof answer);
    }
    // Let GTK finish whatever the destroyed window left for idle time.
    while (g_main_context_iteration(nullptr, FALSE)) {
    }

    const secure::String needle = Needle();
    const auto skipBegin = reinterpret_cast<std::uintptr_t>(needle.data());
    const std::vector<std::string> narrow =
        FindCopies(reinterpret_cast<const unsigned char*>(needle.data()), needle.size(), kWindow, 1, skipBegin,
                   skipBegin + needle.capacity() + 1);
    EXPECT_TRUE(narrow.empty()) << "PIN bytes found at " << ::testing::PrintToString(narrow);

    secure::WString wide;
    for (char c : needle.view())
        wide.push_back(static_cast<wchar_t>(c));
    const auto wideBegin = reinterpret_cast<std::uintptr_t>(wide.data());
    const std::vector<std::string> wideCopies =
        FindCopies(reinterpret_cast<const unsigned char*>(wide.data()), wide.size() * sizeof(wchar_t),
                   kWindow * sizeof(wchar_t), sizeof(wchar_t), wideBegin, wideBegin + (wide.capacity() + 1) * sizeof(wchar_t));
    EXPECT_TRUE(wideCopies.empty()) << "wide PIN found at " << ::testing::PrintToString(wideCopies);
}

} // namespace
