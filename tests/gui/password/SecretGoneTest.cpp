// After a PIN dialog has answered and been deleted, no copy of the PIN typed
// through XTest is left in the heap, the anonymous mappings or the stack: no
// eight consecutive bytes of it, in UTF-8 or as wide characters. The PIN
// exists whole in the test only as the needle, built at search time in secure
// storage that the search skips.
#include "PasswordGuiSupport.h"

#include <fstream>
#include <vector>

namespace {

using namespace pwtest;

// Long enough that a freed heap chunk keeps a run of it past the allocator's
// bookkeeping, which overwrites the first 16 bytes of a freed chunk.
const char* const kPieces[] = {"Qz7", "Kp2", "Wx9", "Mv4", "Jt6", "Hb8", "Rc5", "Ny3", "Gd1", "Fs0", "Lu7", "Ew2"};
constexpr std::size_t kPinLength = 36;
constexpr std::size_t kWindow = 8; // characters of the PIN that count as a copy

// Where in the writable private mappings without a file any `kWindow`-character
// run of `needle` occurs, outside the needle itself; one report per mapping.
template <class Char>
std::vector<std::string> FindCopies(const Char* needle, std::size_t length, std::size_t capacity)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(needle);
    const std::size_t window = kWindow * sizeof(Char);
    const auto pair = [](const unsigned char* p) { return p[0] << 8 | p[1]; };
    std::vector<bool> startsRun(65536); // a byte pair that starts no run is skipped at once
    for (std::size_t start = 0; start + kWindow <= length; ++start)
        startsRun[pair(bytes + start * sizeof(Char))] = true;
    std::vector<std::string> found;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long from = 0, to = 0;
        char perms[5] = {}, path[256] = {};
        if (std::sscanf(line.c_str(), "%lx-%lx %4s %*s %*s %*s %255s", &from, &to, perms, path) < 3 ||
            std::strncmp(perms, "rw", 2) != 0 || (*path && std::strcmp(path, "[heap]") && std::strcmp(path, "[stack]")))
            continue;
        const auto* begin = reinterpret_cast<const unsigned char*>(from);
        const auto* end = reinterpret_cast<const unsigned char*>(to);
        for (const unsigned char* at = begin; at + window <= end; ++at) {
            if (!startsRun[pair(at)] || (at >= bytes && at < bytes + (capacity + 1) * sizeof(Char)))
                continue;
            bool copy = false;
            for (std::size_t start = 0; !copy && start + kWindow <= length; ++start)
                copy = std::memcmp(at, bytes + start * sizeof(Char), window) == 0;
            if (copy) {
                found.push_back(line + " +" + std::to_string(at - begin));
                break;
            }
        }
    }
    return found;
}

using SecretGone = PasswordGui;

TEST_F(SecretGone, NoCopyOfTheTypedPinRemains)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the shadow mappings look anonymous but are not all readable";
#endif
    {
        PasswordDialogInfo info = Request();
        info.maxPasswordLength = 0;
        Dialog d(1, info, 7, 1);
        d.Show();
        testkit::XClient x;
        d.Focus(kCurrent);
        for (const char* piece : kPieces)
            for (int i = 0; i < 3; ++i)
                x.TypeText(std::string_view(piece + i, 1));
        ASSERT_TRUE(RunUntil([&] { return gtk_entry_get_text_length(GTK_ENTRY(d.W(kCurrent))) == kPinLength; }));
        d.ClickOk();
        ASSERT_EQ(d.Window(), nullptr);

        // The answer, checked piece by piece.
        const secure::String answer = d.Answer();
        const std::string_view prefix = "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd=";
        ASSERT_EQ(answer.size(), prefix.size() + kPinLength);
        EXPECT_EQ(answer.view().substr(0, prefix.size()), prefix);
        for (std::size_t i = 0; i < kPinLength; ++i)
            EXPECT_EQ(answer[prefix.size() + i], kPieces[i / 3][i % 3]) << "PIN byte " << i;
    }
    while (g_main_context_iteration(nullptr, FALSE)) {
    } // what the destroyed window left for idle time

    secure::String needle;
    for (const char* piece : kPieces)
        needle.append(piece, 3);
    secure::WString wide;
    for (char c : needle.view())
        wide.push_back(static_cast<wchar_t>(c));
    const std::vector<std::string> narrow = FindCopies(needle.data(), needle.size(), needle.capacity());
    EXPECT_TRUE(narrow.empty()) << "PIN bytes in " << ::testing::PrintToString(narrow);
    const std::vector<std::string> wideCopies = FindCopies(wide.data(), wide.size(), wide.capacity());
    EXPECT_TRUE(wideCopies.empty()) << "wide PIN in " << ::testing::PrintToString(wideCopies);
}

} // namespace
