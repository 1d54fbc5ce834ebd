// After each password dialog (one, two and three entries) has answered and
// been deleted, no copy of a password typed through XTest is left in the heap,
// the anonymous mappings or the stack, outside the answer's own storage (gone
// by then too): no eight consecutive bytes of it, in UTF-8 or as wide
// characters, for passwords short enough to live inside a std::string object
// and for longer ones. The stack counts below the running frames too, where
// every function that returned during the dialog left its frame: that part is
// copied into secure storage before anything else runs over it, so what the
// search finds there does not depend on the search's own frames. A password
// exists whole in the test only as the needle, built at search time in secure
// storage that the search skips.
#include "PasswordGuiSupport.h"

#include <algorithm>
#include <climits>
#include <fstream>
#include <malloc.h>
#include <span>
#include <vector>

namespace {

using namespace pwtest;

// The long passwords keep a run in a freed heap chunk past the allocator's
// bookkeeping, which overwrites the first 16 bytes of a freed chunk; the
// short ones fit inside a std::string object, wherever that lives. The
// current and the new password share no run of kWindow characters.
using Pieces = const char* const[12];
const Pieces kCurrentPieces = {"Qz7", "Kp2", "Wx9", "Mv4", "Jt6", "Hb8", "Rc5", "Ny3", "Gd1", "Fs0", "Lu7", "Ew2"};
const Pieces kNewPieces = {"aB3", "cD5", "eF7", "gH9", "iJ2", "kL4", "mN6", "oP8", "qR1", "sT3", "uV5", "wX7"};
constexpr std::size_t kLongPin = 36;
constexpr std::size_t kShortPin = 12;
constexpr std::size_t kWindow = 8;    // characters of the PIN that count as a copy

struct Range {
    const unsigned char* begin = nullptr;
    const unsigned char* end = nullptr;
    bool Holds(const unsigned char* at) const { return at >= begin && at < end; }
};

// Where the stack mapping starts, or null.
const unsigned char* StackMappingStart()
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long from = 0;
        if (line.ends_with(" [stack]") && std::sscanf(line.c_str(), "%lx-", &from) == 1)
            return reinterpret_cast<const unsigned char*>(from);
    }
    return nullptr;
}

// Makes the stack mapping reach `bytes` below the caller's frame, zeroed.
[[gnu::noinline]] void ReachBelow(std::size_t bytes)
{
    auto* pad = static_cast<unsigned char*>(__builtin_alloca(bytes));
    secure::Wipe(pad, bytes);
    asm volatile("" : : "r"(pad) : "memory");
}

// The main thread's stack below the caller's frame, as it stood at chosen
// moments: what the functions that ran and returned since the constructor
// left there.
class DeadStack {
public:
    // More than any dialog goes down; Grew() tells when one did anyway.
    static constexpr std::size_t kReach = 1 << 20;

    // Room for `moments` copies, all made here: Take() must not allocate, or
    // the allocator's frames would cover what it is about to copy.
    explicit DeadStack(std::size_t moments)
    {
        ReachBelow(kReach);
        m_floor = StackMappingStart();
        const auto* frame = static_cast<const unsigned char*>(__builtin_frame_address(0));
        m_capacity = m_floor != nullptr ? static_cast<std::size_t>(frame - m_floor) + kReach / 4 : 0;
        for (std::size_t i = 0; i < moments; ++i)
            m_copies.push_back({static_cast<unsigned char*>(secure::Allocate(m_capacity)), 0, nullptr});
    }
    DeadStack(const DeadStack&) = delete;
    ~DeadStack()
    {
        for (const Copy& copy : m_copies)
            secure::Release(copy.bytes, m_capacity);
    }

    // Copies the stack from its mapping's start up to this call's frame into
    // the next secure block, before anything else writes there (memcpy's
    // own frame is its return address). False when there is no room.
    [[gnu::noinline]] bool Take(const char* moment)
    {
        const auto* frame = static_cast<const unsigned char*>(__builtin_frame_address(0));
        if (m_taken == m_copies.size() || m_floor == nullptr || frame < m_floor ||
            static_cast<std::size_t>(frame - m_floor) > m_capacity)
            return false;
        Copy& copy = m_copies[m_taken++];
        copy.size = static_cast<std::size_t>(frame - m_floor);
        copy.moment = moment;
        std::memcpy(copy.bytes, m_floor, copy.size);
        return true;
    }
    // True when the stack mapping reaches below where it did at construction.
    bool Grew() const { return StackMappingStart() != m_floor; }

    struct Copy {
        unsigned char* bytes; // secure block of m_capacity bytes
        std::size_t size;
        const char* moment;
        Range Taken() const { return {bytes, bytes + size}; }
    };
    std::span<const Copy> Copies() const { return {m_copies.data(), m_taken}; }
    Range Block(const Copy& copy) const { return {copy.bytes, copy.bytes + m_capacity}; }

private:
    const unsigned char* m_floor = nullptr;
    std::size_t m_capacity = 0;
    std::vector<Copy> m_copies;
    std::size_t m_taken = 0;
};

// Searches for any `kWindow`-character run of a needle.
template <class Char>
class Search {
public:
    // Places in `skip` (the needle's own storage, the copies of the stack)
    // are left out of searches of whole mappings.
    Search(const Char* needle, std::size_t length, std::vector<Range> skip)
        : m_bytes(reinterpret_cast<const unsigned char*>(needle)), m_length(length), m_skip(std::move(skip))
    {
        for (std::size_t start = 0; start + kWindow <= length; ++start)
            m_startsRun[Pair(m_bytes + start * sizeof(Char))] = true;
    }

    // Offset of the first run in `range`, or -1.
    long FirstIn(Range range, bool skipping) const
    {
        const std::size_t window = kWindow * sizeof(Char);
        for (const unsigned char* at = range.begin; at + window <= range.end; ++at) {
            if (!m_startsRun[Pair(at)] ||
                (skipping && std::any_of(m_skip.begin(), m_skip.end(), [at](Range r) { return r.Holds(at); })))
                continue;
            for (std::size_t start = 0; start + kWindow <= m_length; ++start)
                if (std::memcmp(at, m_bytes + start * sizeof(Char), window) == 0)
                    return at - range.begin;
        }
        return -1;
    }

private:
    static unsigned Pair(const unsigned char* p) { return p[0] << 8 | p[1]; }

    const unsigned char* m_bytes;
    std::size_t m_length;
    std::vector<Range> m_skip;
    std::vector<bool> m_startsRun = std::vector<bool>(65536); // a byte pair that starts no run is skipped at once
};

// Where a run of the needle occurs in each copy of the dead stack and in the
// writable private mappings without a file; one report per place.
template <class Char>
std::vector<std::string> FindCopies(const Search<Char>& search, const DeadStack& dead)
{
    std::vector<std::string> found;
    for (const DeadStack::Copy& copy : dead.Copies())
        if (const long at = search.FirstIn(copy.Taken(), false); at >= 0)
            found.push_back(std::string("dead stack ") + copy.moment + ", " + std::to_string(copy.size - at) +
                            " bytes below the test's frame");
    // The search allocates as it reads the list of mappings: the allocator
    // must not give memory back meanwhile (a trimmed heap's end, an unmapped
    // large block), or a listed mapping would go while it is searched.
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
    mallopt(M_MMAP_THRESHOLD, 32 * 1024 * 1024);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long from = 0, to = 0;
        char perms[5] = {}, path[256] = {};
        if (std::sscanf(line.c_str(), "%lx-%lx %4s %*s %*s %*s %255s", &from, &to, perms, path) < 3 ||
            std::strncmp(perms, "rw", 2) != 0 || (*path && std::strcmp(path, "[heap]") && std::strcmp(path, "[stack]")))
            continue;
        const Range mapping{reinterpret_cast<const unsigned char*>(from), reinterpret_cast<const unsigned char*>(to)};
        if (const long at = search.FirstIn(mapping, true); at >= 0)
            found.push_back(line + " +" + std::to_string(at));
    }
    return found;
}

// The copies of the first `length` characters of `pieces` left anywhere, as
// bytes or wide characters, outside the needle built here in secure storage.
std::vector<std::string> CopiesOf(const Pieces& pieces, std::size_t length, const DeadStack& dead)
{
    secure::String needle;
    for (std::size_t i = 0; i < length; ++i)
        needle.push_back(pieces[i / 3][i % 3]);
    secure::WString wide;
    for (char c : needle.view())
        wide.push_back(static_cast<wchar_t>(c));
    const auto block = [](const auto& s) {
        const auto* begin = reinterpret_cast<const unsigned char*>(s.data());
        return Range{begin, begin + (s.capacity() + 1) * sizeof(s[0])};
    };
    std::vector<Range> skip = {block(needle), block(wide)};
    for (const DeadStack::Copy& copy : dead.Copies())
        skip.push_back(dead.Block(copy));
    std::vector<std::string> found = FindCopies(Search(needle.data(), length, skip), dead);
    for (std::string& copy : FindCopies(Search(wide.data(), length, skip), dead))
        found.push_back("wide: " + copy);
    return found;
}

// True when some report names `place`.
bool Names(const std::vector<std::string>& reports, std::string_view place)
{
    return std::any_of(reports.begin(), reports.end(), [place](const std::string& r) { return r.find(place) != std::string::npos; });
}

// Types the first `length` characters of `pieces` one at a time, as a user would.
void TypePieces(testkit::XClient& x, const Pieces& pieces, std::size_t length)
{
    for (std::size_t i = 0; i < length; ++i)
        x.TypeText(std::string_view(pieces[i / 3] + i % 3, 1));
}

// True when `text` is the first `length` characters of `pieces`, compared one
// by one so that no whole copy of it is made for the comparison.
bool IsTyped(std::string_view text, const Pieces& pieces, std::size_t length)
{
    if (text.size() != length)
        return false;
    for (std::size_t i = 0; i < length; ++i)
        if (text[i] != pieces[i / 3][i % 3])
            return false;
    return true;
}

// Each of the three dialogs: what it was given to answer, where the typed
// passwords go, and how its answer begins and splits.
struct Kind {
    int kind;
    std::vector<std::pair<const char*, const Pieces*>> typing; // entry, password
    std::string_view before;                                   // the answer up to the first password
    std::string_view between;                                  // between the two passwords (three entries)
};

class SecretGone : public PasswordGui, public ::testing::WithParamInterface<std::tuple<Kind, std::size_t>> {};

// The stack is copied after the typing, after OK and at the end, so that a
// copy one step leaves is seen even when a later step happens to cover it.
// Each case runs in a process of its own (as ctest runs it): what the first
// call of anything leaves behind is part of what is checked.
TEST_P(SecretGone, NoCopyOfTheTypedPasswordsRemains)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the shadow mappings look anonymous but are not all readable";
#endif
    const auto& [kind, length] = GetParam();
    DeadStack dead(3);
    {
        PasswordDialogInfo info = Request();
        info.maxPasswordLength = info.maxNewPasswordLength = 0;
        Dialog d(kind.kind, info, 7, 1);
        d.Show();
        testkit::XClient x;
        for (const auto& [entry, pieces] : kind.typing) {
            d.Focus(entry);
            TypePieces(x, *pieces, length);
            ASSERT_TRUE(RunUntil([&, e = entry] { return gtk_entry_get_text_length(GTK_ENTRY(d.W(e))) == length; }));
        }
        ASSERT_TRUE(dead.Take("after the typing"));
        d.ClickOk();
        ASSERT_EQ(d.Window(), nullptr);
        ASSERT_TRUE(dead.Take("after OK"));

        // The answer, its passwords checked character by character.
        const secure::String answer = d.Answer();
        const std::string_view got = answer.view();
        ASSERT_TRUE(got.starts_with(kind.before)) << "answer of " << got.size() << " bytes";
        std::string_view rest = got.substr(kind.before.size());
        EXPECT_TRUE(IsTyped(rest.substr(0, length), *kind.typing.front().second, length));
        if (!kind.between.empty()) {
            rest.remove_prefix(std::min(rest.size(), length));
            ASSERT_TRUE(rest.starts_with(kind.between));
            EXPECT_TRUE(IsTyped(rest.substr(kind.between.size()), *kind.typing.back().second, length));
        } else {
            EXPECT_EQ(rest.size(), length);
        }
    }
    while (g_main_context_iteration(nullptr, FALSE)) {
    } // what the destroyed window left for idle time
    ASSERT_TRUE(dead.Take("at the end"));
    EXPECT_FALSE(dead.Grew()) << "the dialog used more than " << DeadStack::kReach << " bytes of stack";

    for (const Pieces* pieces : {&kCurrentPieces, &kNewPieces}) {
        const std::vector<std::string> copies = CopiesOf(*pieces, length, dead);
        EXPECT_TRUE(copies.empty()) << (pieces == &kCurrentPieces ? "current" : "new") << " password in "
                                    << ::testing::PrintToString(copies);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Dialogs, SecretGone,
    ::testing::Combine(
        ::testing::Values(Kind{1, {{kCurrent, &kCurrentPieces}}, "XVTUI_save_passwd=trueXVTUI_dont_cache=falseXVTUI_passwd=", ""},
                          Kind{2, {{kNew, &kNewPieces}, {kConfirm, &kNewPieces}}, "XVTUI_passwd=", ""},
                          Kind{3,
                               {{kCurrent, &kCurrentPieces}, {kNew, &kNewPieces}, {kConfirm, &kNewPieces}},
                               "XVTUI_old_passwd=",
                               "XVTUI_passwd="}),
        ::testing::Values(kShortPin, kLongPin)),
    [](const auto& info) {
        return std::to_string(std::get<0>(info.param).kind) + "Entries" + std::to_string(std::get<1>(info.param)) +
               "Characters";
    });

// Leaves the first `length` characters of `pieces` in the frame of a function
// that has returned, far enough down that the caller's next small frames do
// not reach them.
template <class Char>
[[gnu::noinline]] void LeaveInDeadFrame(const Pieces& pieces, std::size_t length)
{
    Char frame[1024];
    for (std::size_t i = 0; i < length; ++i)
        frame[i] = static_cast<Char>(pieces[i / 3][i % 3]);
    asm volatile("" : : "r"(frame) : "memory");
}

// The search itself: a copy left where a careless function would leave one is
// found, and named by where it is.
TEST(SecretSearch, FindsAPlantedCopy)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the shadow mappings look anonymous but are not all readable";
#endif
    const struct {
        const char* where;
        std::size_t length;
        void (*plant)(const Pieces&, std::size_t); // null: a std::string in the heap
        const char* report;
    } cases[] = {
        {"short, in a dead frame", kShortPin, LeaveInDeadFrame<char>, "dead stack planted"},
        {"wide, in a dead frame", kLongPin, LeaveInDeadFrame<wchar_t>, "wide: dead stack planted"},
        {"in the heap", kLongPin, nullptr, "[heap]"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.where);
        DeadStack dead(1);
        std::string heap;
        if (c.plant != nullptr) {
            c.plant(kCurrentPieces, c.length);
        } else {
            for (std::size_t i = 0; i < c.length; ++i)
                heap.push_back(kCurrentPieces[i / 3][i % 3]);
        }
        ASSERT_TRUE(dead.Take("planted"));
        EXPECT_TRUE(Names(CopiesOf(kCurrentPieces, c.length, dead), c.report));
        secure::Wipe(heap.data(), heap.size());
    }
}

} // namespace
