// After each password dialog (one, two and three entries) has answered and
// been deleted, no copy of a password typed through XTest is left in the heap,
// the anonymous mappings or the stack, outside the answer's own storage (gone
// by then too): no eight consecutive bytes of it, in UTF-8 or as wide
// characters. A password exists whole in the test only as the needle, built
// at search time in secure storage that the search skips.
#include "PasswordGuiSupport.h"

#include <climits>
#include <fstream>
#include <malloc.h>
#include <vector>

namespace {

using namespace pwtest;

// Long enough that a freed heap chunk keeps a run of it past the allocator's
// bookkeeping, which overwrites the first 16 bytes of a freed chunk. The
// current and the new password share no run of kWindow characters.
using Pieces = const char* const[12];
const Pieces kCurrentPieces = {"Qz7", "Kp2", "Wx9", "Mv4", "Jt6", "Hb8", "Rc5", "Ny3", "Gd1", "Fs0", "Lu7", "Ew2"};
const Pieces kNewPieces = {"aB3", "cD5", "eF7", "gH9", "iJ2", "kL4", "mN6", "oP8", "qR1", "sT3", "uV5", "wX7"};
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
    // The search allocates as it reads the list of mappings: the allocator
    // must not give memory back meanwhile (a trimmed heap's end, an unmapped
    // large block), or a listed mapping would go while it is searched.
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
    mallopt(M_MMAP_THRESHOLD, 32 * 1024 * 1024);
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

// Types a password a character at a time, as a user would.
void TypePieces(testkit::XClient& x, const Pieces& pieces)
{
    for (const char* piece : pieces)
        for (int i = 0; i < 3; ++i)
            x.TypeText(std::string_view(piece + i, 1));
}

// True when `text` is the password of `pieces`, compared piece by piece so
// that no whole copy of it is made for the comparison.
bool IsTyped(std::string_view text, const Pieces& pieces)
{
    if (text.size() != kPinLength)
        return false;
    for (std::size_t i = 0; i < kPinLength; ++i)
        if (text[i] != pieces[i / 3][i % 3])
            return false;
    return true;
}

// The copies of the password of `pieces` left anywhere, as bytes or wide
// characters, outside the needle built here in secure storage.
std::vector<std::string> CopiesOf(const Pieces& pieces)
{
    secure::String needle;
    for (const char* piece : pieces)
        needle.append(piece, 3);
    secure::WString wide;
    for (char c : needle.view())
        wide.push_back(static_cast<wchar_t>(c));
    std::vector<std::string> found = FindCopies(needle.data(), needle.size(), needle.capacity());
    for (std::string& copy : FindCopies(wide.data(), wide.size(), wide.capacity()))
        found.push_back("wide: " + copy);
    return found;
}

// Each of the three dialogs: what it was given to answer, where the typed
// passwords go, and how its answer begins and splits.
struct Kind {
    int kind;
    std::vector<std::pair<const char*, const Pieces*>> typing; // entry, password
    std::string_view before;                                   // the answer up to the first password
    std::string_view between;                                  // between the two passwords (three entries)
};

class SecretGone : public PasswordGui, public ::testing::WithParamInterface<Kind> {};

TEST_P(SecretGone, NoCopyOfTheTypedPasswordsRemains)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the shadow mappings look anonymous but are not all readable";
#endif
    const Kind& kind = GetParam();
    {
        PasswordDialogInfo info = Request();
        info.maxPasswordLength = info.maxNewPasswordLength = 0;
        Dialog d(kind.kind, info, 7, 1);
        d.Show();
        testkit::XClient x;
        for (const auto& [entry, pieces] : kind.typing) {
            d.Focus(entry);
            TypePieces(x, *pieces);
            ASSERT_TRUE(RunUntil([&, e = entry] { return gtk_entry_get_text_length(GTK_ENTRY(d.W(e))) == kPinLength; }));
        }
        d.ClickOk();
        ASSERT_EQ(d.Window(), nullptr);

        // The answer, its passwords checked piece by piece.
        const secure::String answer = d.Answer();
        const std::string_view got = answer.view();
        ASSERT_TRUE(got.starts_with(kind.before)) << "answer of " << got.size() << " bytes";
        std::string_view rest = got.substr(kind.before.size());
        const Pieces& first = *kind.typing.front().second;
        EXPECT_TRUE(IsTyped(rest.substr(0, kPinLength), first));
        if (!kind.between.empty()) {
            rest.remove_prefix(std::min(rest.size(), kPinLength));
            ASSERT_TRUE(rest.starts_with(kind.between));
            EXPECT_TRUE(IsTyped(rest.substr(kind.between.size()), *kind.typing.back().second));
        } else {
            EXPECT_EQ(rest.size(), kPinLength);
        }
    }
    while (g_main_context_iteration(nullptr, FALSE)) {
    } // what the destroyed window left for idle time

    for (const Pieces* pieces : {&kCurrentPieces, &kNewPieces}) {
        const std::vector<std::string> copies = CopiesOf(*pieces);
        EXPECT_TRUE(copies.empty()) << (pieces == &kCurrentPieces ? "current" : "new") << " password in "
                                    << ::testing::PrintToString(copies);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Dialogs, SecretGone,
    ::testing::Values(Kind{1, {{kCurrent, &kCurrentPieces}}, "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd=", ""},
                      Kind{2, {{kNew, &kNewPieces}, {kConfirm, &kNewPieces}}, "XVTUI_passwd=", ""},
                      Kind{3,
                           {{kCurrent, &kCurrentPieces}, {kNew, &kNewPieces}, {kConfirm, &kNewPieces}},
                           "XVTUI_old_passwd=",
                           "XVTUI_passwd="}),
    [](const ::testing::TestParamInfo<Kind>& info) { return std::to_string(info.param.kind) + "Entries"; });

} // namespace
