// What the password dialogs do to keep a typed secret from other programs,
// seen from outside the running helper: core files off and the process not
// dumpable (so no process of the same user may read its memory or attach to
// it), key events that another X client forged with XSendEvent ignored, and
// every call into a shared library bound at load.
#include "common/Blackbox.h"
#include "common/PasswordRequests.h"

#include <gtest/gtest.h>

#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace testkit;
using namespace xvtui::client;

struct Kind {
    const char* name;
    Request request;
    std::size_t entries; // the password entries, each typed into in turn
    std::string (*answer)(const std::string& typed);
};

std::vector<Kind> Kinds()
{
    return {
        {"one entry", PinRequest(KeyContainerArgs(), 3, 3), 1,
         [](const std::string& typed) { return PinAnswer(false, false, typed); }},
        {"two entries", NewPasswordRequest(KeyContainerArgs()), 2,
         [](const std::string& typed) { return std::string(kPasswdKey) + typed; }},
        {"three entries", ChangePasswordRequest(KeyContainerArgs()), 3,
         [](const std::string& typed) { return std::string(kOldPasswdKey) + typed + std::string(kPasswdKey) + typed; }},
    };
}

// The soft and hard core-file limits of a process, as /proc shows them.
std::string CoreLimit(pid_t pid)
{
    std::ifstream limits("/proc/" + std::to_string(pid) + "/limits");
    for (std::string line; std::getline(limits, line);) {
        if (line.starts_with("Max core file size")) {
            std::istringstream fields(line.substr(std::string_view("Max core file size").size()));
            std::string soft, hard;
            fields >> soft >> hard;
            return soft + " " + hard;
        }
    }
    return "(none)";
}

// Whether a process is dumpable, from outside: the kernel gives its /proc
// files (its status file among them) to root while it is not, and to its own
// user while it is. So the process must run as a user other than root: under
// root the tests start it as "nobody" through setpriv (which keeps the pid),
// otherwise as themselves.
constexpr uid_t kNobody = 65534;

uid_t HelperUser()
{
    return geteuid() == 0 ? kNobody : geteuid();
}

Request AsHelperUser(Request request, std::string program)
{
    if (geteuid() == 0) {
        const std::vector<std::string> setpriv = {"--reuid=65534", "--regid=65534", "--clear-groups", "--",
                                                  std::move(program)};
        request.arguments.insert(request.arguments.begin(), setpriv.begin(), setpriv.end());
    } else {
        request.arguments.insert(request.arguments.begin(), std::move(program));
    }
    return request;
}

LaunchOptions HelperUserOptions(const Sandbox& sandbox)
{
    LaunchOptions options = HelperOptions(sandbox);
    options.helper = geteuid() == 0 ? "/usr/bin/setpriv" : "/usr/bin/env";
    return options;
}

bool Dumpable(pid_t pid)
{
    struct stat info {};
    if (stat(("/proc/" + std::to_string(pid) + "/status").c_str(), &info) != 0)
        throw std::runtime_error("no /proc entry for " + std::to_string(pid));
    if (info.st_uid != HelperUser() && info.st_uid != 0)
        throw std::runtime_error("/proc entry of an unexpected owner " + std::to_string(info.st_uid));
    return info.st_uid == HelperUser();
}

// Whether the ELF file at `path` asks the loader to bind all its calls at
// load (DT_BIND_NOW, DF_BIND_NOW or DF_1_NOW in its dynamic section).
bool BindsAtLoad(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    ElfW(Ehdr) header{};
    if (bytes.size() < sizeof header || bytes.compare(0, SELFMAG, ELFMAG) != 0)
        return false;
    std::memcpy(&header, bytes.data(), sizeof header);
    for (std::size_t i = 0; i < header.e_phnum; ++i) {
        ElfW(Phdr) segment{};
        const std::size_t at = header.e_phoff + i * sizeof segment;
        if (at + sizeof segment > bytes.size())
            return false;
        std::memcpy(&segment, bytes.data() + at, sizeof segment);
        if (segment.p_type != PT_DYNAMIC)
            continue;
        ElfW(Dyn) entry{};
        const std::size_t end = std::min<std::size_t>(bytes.size(), segment.p_offset + segment.p_filesz);
        for (std::size_t d = segment.p_offset; d + sizeof entry <= end; d += sizeof entry) {
            std::memcpy(&entry, bytes.data() + d, sizeof entry);
            if (entry.d_tag == DT_BIND_NOW || (entry.d_tag == DT_FLAGS && (entry.d_un.d_val & DF_BIND_NOW)) ||
                (entry.d_tag == DT_FLAGS_1 && (entry.d_un.d_val & DF_1_NOW)))
                return true;
        }
    }
    return false;
}

// A call bound at its first use runs the loader's binder, which saves the
// vector registers on the stack; after a secret was copied they still hold
// pieces of it, and the binder's dead frame would keep them.
TEST(SecretProtection, OurBinariesBindEveryCallAtLoad)
{
    std::vector<const char*> files = {XVTUI_BINARY};
#ifdef XVTUI_SUPPORT_LIBRARY
    files.push_back(XVTUI_SUPPORT_LIBRARY);
#endif
    for (const char* path : files)
        EXPECT_TRUE(BindsAtLoad(path)) << path;
}

// The probe itself: an ordinary process started the same way is dumpable.
TEST(SecretProtection, TheProbeSeesAnOrdinaryProcess)
{
    Sandbox sandbox;
    Request sleeper = AsHelperUser({}, "/bin/sh");
    sleeper.arguments.insert(sleeper.arguments.end(), {"-c", "echo ready && exec sleep 30"});
    HelperProcess process(sleeper, HelperUserOptions(sandbox));
    char ready = 0;
    ASSERT_EQ(process.Receive(&ready, 1, kAnswerTimeout), 1u); // past setpriv's change of user
    EXPECT_TRUE(Dumpable(process.Pid()));
    process.Signal(SIGKILL);
}

// While each dialog waits for its secret, the helper writes no core file and
// no process of the same user may read its memory.
TEST(SecretProtection, NoCoreFileAndNotDumpableWhileAsking)
{
    Sandbox sandbox;
    for (Kind& kind : Kinds()) {
        SCOPED_TRACE(kind.name);
        XClient x;
        HelperProcess process(AsHelperUser(kind.request, XVTUI_BINARY), HelperUserOptions(sandbox));
        const XWindow window = x.WaitForWindow(process.Pid(), kWindowTimeout);
        ASSERT_NE(window, kNoWindow);
        EXPECT_EQ(CoreLimit(process.Pid()), "0 0");
        EXPECT_FALSE(Dumpable(process.Pid()));
        x.SendDeleteWindow(window);
        EXPECT_EQ(process.Finish(kAnswerTimeout).output.view(), "ret=2148532334");
    }
}

// Another X client's forged key events (XSendEvent, marked send_event by the
// server) type nothing, move no focus and press no button, even interleaved
// with real keys of the keyboard (XTest): the answer holds the real keys only.
TEST(SecretProtection, ForgedKeyEventsAreIgnored)
{
    Sandbox sandbox;
    for (Kind& kind : Kinds()) {
        SCOPED_TRACE(kind.name);
        const std::string typed = "k3y";
        const Act act = [&](XClient& x, XWindow window) {
            for (std::size_t field = 0; field < kind.entries; ++field) {
                if (field > 0)
                    x.PressKey("Tab");
                for (const char c : typed) {
                    x.ForgeKey(window, "f");
                    x.TypeText(std::string(1, c));
                    x.ForgeKey(window, "Tab");
                }
                x.ForgeKey(window, "Return");
            }
            x.PressKey("Return");
        };
        const Reply reply = Drive(kind.request, {act}, sandbox);
        EXPECT_EQ(reply.output, kind.answer(typed));
        EXPECT_EQ(reply.answer.exitStatus, 0);
    }
}

} // namespace
