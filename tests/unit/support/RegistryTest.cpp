// The settings store: path parsing, the local and global INI files, value
// syntax, and files that are missing, unreadable, malformed or hostile.

#include "support/torvik.h"
#include "SupportTestUtil.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

using supporttest::RunInChild;
using supporttest::TempDir;
using supporttest::WriteFile;

constexpr long kUntouched = 0x5A5A;
constexpr unsigned int kAnyError = ~0u;

const char* const kLocalIni = R"(# settings of this user
[KeyDevices]
passwd_time = 30
negative = -15
wide = 8589934592
hex = 0x1F
hexwide = 0xFFFFFFFFFFFFFFFF
max = 9223372036854775807
min = -9223372036854775808
over = 9223372036854775808
under = -9223372036854775809
hexover = 0x10000000000000000
plus = +7
padded =   42
leadingzero = 010
junk = 12a
empty =
fraction = 1.5
inner = 1 2
signedhex = -0x10
barehex = 0x
sign = -
word = thirty
#commented = 9

[KeyDevices\Deep\Er]
value = 5
)";

const char* const kGlobalIni = R"([KeyDevices]
passwd_time = 99
only_global = 7
)";

class Registry : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_local = m_dir.File("local.ini");
        m_global = m_dir.File("global.ini");
        WriteFile(m_local, kLocalIni);
        WriteFile(m_global, kGlobalIni);
        setenv("TORVIK_LOCAL_CONFIG", m_local.c_str(), 1);
        setenv("TORVIK_GLOBAL_CONFIG", m_global.c_str(), 1);
    }
    void TearDown() override
    {
        unsetenv("TORVIK_LOCAL_CONFIG");
        unsetenv("TORVIK_GLOBAL_CONFIG");
    }

    // Reads `path`; returns the code and checks that a failure leaves the value alone.
    static unsigned int Read(const char* path, long& value)
    {
        value = kUntouched;
        const unsigned int rc = support_registry_get_long(path, &value);
        if (rc != 0) {
            EXPECT_EQ(value, kUntouched) << path;
        }
        return rc;
    }

    TempDir m_dir;
    std::string m_local;
    std::string m_global;
};

struct Lookup {
    const char* path;
    unsigned int rc;
    long value;
};

TEST_F(Registry, ValuesAndTheirSyntax)
{
    const std::vector<Lookup> cases = {
        {"\\local\\KeyDevices\\passwd_time", 0, 30},
        {"\\global\\KeyDevices\\passwd_time", 0, 99},
        {"\\global\\KeyDevices\\only_global", 0, 7},
        {"\\local\\KeyDevices\\only_global", TORVIK_ERROR_FILE_NOT_FOUND, 0},
        {"\\local\\KeyDevices\\negative", 0, -15},
        {"\\local\\KeyDevices\\wide", 0, 8589934592L},
        {"\\local\\KeyDevices\\hex", 0, 31},
        {"\\local\\KeyDevices\\hexwide", 0, -1},
        {"\\local\\KeyDevices\\max", 0, 9223372036854775807L},
        {"\\local\\KeyDevices\\min", 0, -9223372036854775807L - 1},
        {"\\local\\KeyDevices\\plus", 0, 7},
        {"\\local\\KeyDevices\\padded", 0, 42},
        {"\\local\\KeyDevices\\leadingzero", 0, 10},
        {"\\local\\KeyDevices\\Deep\\Er\\value", 0, 5},
        {"\\local\\KeyDevices\\over", TORVIK_ERROR_INVALID_DATA, 0},
        {"\\local\\KeyDevices\\under", TORVIK_ERROR_INVALID_DATA, 0},
        {"\\local\\KeyDevices\\hexover", TORVIK_ERROR_INVALID_DATA, 0},
        {"\\local\\KeyDevices\\junk", TORVIK_ERROR_INVALID_DATA, 0},
        {"\\local\\KeyDevices\\empty", TORVIK_ERROR_INVALID_DATA, 0},
        {"\\local\\KeyDevices\\fraction", TORVIK_ERROR_INVALID_DATA, 0},
        {"\\local\\KeyDevices\\inner", TORVIK_ERROR_INVALID_DATA, 0},
        {"\\local\\KeyDevices\\signedhex", TORVIK_ERROR_INVALID_DATA, 0},
        {"\\local\\KeyDevices\\barehex", TORVIK_ERROR_INVALID_DATA, 0},
        {"\\local\\KeyDevices\\sign", TORVIK_ERROR_INVALID_DATA, 0},
        {"\\local\\KeyDevices\\word", TORVIK_ERROR_INVALID_DATA, 0},
        {"\\local\\KeyDevices\\commented", TORVIK_ERROR_FILE_NOT_FOUND, 0},
        {"\\local\\NoSuchKey\\passwd_time", TORVIK_ERROR_FILE_NOT_FOUND, 0},
        {"\\local\\KeyDevices\\Deep\\value", TORVIK_ERROR_FILE_NOT_FOUND, 0},
    };
    for (const auto& c : cases) {
        long value = 0;
        EXPECT_EQ(Read(c.path, value), c.rc) << c.path;
        if (c.rc == 0) {
            EXPECT_EQ(value, c.value) << c.path;
        }
    }
}

TEST_F(Registry, MalformedPathsAreInvalidParameters)
{
    const std::vector<const char*> paths = {
        "",
        "\\local\\",
        "\\local\\passwd_time",
        "\\local\\KeyDevices\\",
        "\\local\\\\passwd_time",
        "\\local\\KeyDevices\\\\Deep\\passwd_time",
        "local\\KeyDevices\\passwd_time",
        "\\machine\\KeyDevices\\passwd_time",
        "\\local\\Key[Devices]\\passwd_time",
        "\\local\\KeyDevices\\passwd_time\nx",
    };
    for (const char* path : paths) {
        long value = 0;
        EXPECT_EQ(Read(path, value), TORVIK_ERROR_INVALID_PARAMETER) << path;
    }
    long value = 0;
    EXPECT_EQ(Read(nullptr, value), TORVIK_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(support_registry_get_long("\\local\\KeyDevices\\passwd_time", nullptr),
              TORVIK_ERROR_INVALID_PARAMETER);
}

TEST_F(Registry, BadFilesFailWithoutCrashOrHang)
{
    const std::string big(1024 * 1024 + 1, '#');
    const std::string fifo = m_dir.File("fifo.ini");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    struct Case {
        const char* what;
        std::string file;
        std::string contents; // written unless empty
        unsigned int rc;
    };
    const std::vector<Case> cases = {
        {"missing file", m_dir.File("absent.ini"), "", TORVIK_ERROR_FILE_NOT_FOUND},
        {"below a regular file", m_local + "/x.ini", "", TORVIK_ERROR_FILE_NOT_FOUND},
        {"a directory", m_dir.Path(), "", TORVIK_ERROR_ACCESS_DENIED},
        {"a FIFO without a writer", fifo, "", TORVIK_ERROR_ACCESS_DENIED},
        {"larger than 1 MiB", m_dir.File("big.ini"), "[KeyDevices]\npasswd_time = 1\n" + big,
         TORVIK_ERROR_INVALID_DATA},
        {"not key-file syntax", m_dir.File("bad.ini"), "[KeyDevices]\npasswd_time 30\n",
         TORVIK_ERROR_INVALID_DATA},
        {"binary junk", m_dir.File("junk.ini"), std::string("\x00\xff[\x01=", 5), kAnyError},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        if (!c.contents.empty())
            WriteFile(c.file, c.contents);
        setenv("TORVIK_LOCAL_CONFIG", c.file.c_str(), 1);
        long value = 0;
        const unsigned int rc = Read("\\local\\KeyDevices\\passwd_time", value);
        if (c.rc == kAnyError) {
            EXPECT_NE(rc, 0u);
        } else {
            EXPECT_EQ(rc, c.rc);
        }
    }
    // The global tree is a separate file and still answers.
    long value = 0;
    EXPECT_EQ(Read("\\global\\KeyDevices\\passwd_time", value), 0u);
    EXPECT_EQ(value, 99);
}

TEST_F(Registry, UnreadableFileIsAccessDenied)
{
    // Permission bits do not stop root: the check drops to an unprivileged user.
    ASSERT_EQ(chmod(m_local.c_str(), 0), 0);
    const int rc = RunInChild([] {
        if (geteuid() == 0 && setuid(65534) != 0)
            return 10;
        long value = kUntouched;
        return support_registry_get_long("\\local\\KeyDevices\\passwd_time", &value) ==
                           TORVIK_ERROR_ACCESS_DENIED && value == kUntouched
                   ? 0
                   : 1;
    });
    EXPECT_EQ(rc, 0);
}

TEST(RegistryDefaults, LocalTreeDefaultsToTheUserConfigDirectory)
{
    // The user's config directory is computed once per process: check in a child.
    TempDir home;
    ASSERT_EQ(mkdir(home.File("torvik").c_str(), 0700), 0);
    WriteFile(home.File("torvik/local.ini"), "[KeyDevices]\npasswd_time = 77\n");
    const int rc = RunInChild([&home] {
        unsetenv("TORVIK_LOCAL_CONFIG");
        setenv("XDG_CONFIG_HOME", home.Path().c_str(), 1);
        long value = 0;
        if (support_registry_get_long("\\local\\KeyDevices\\passwd_time", &value) != 0)
            return 1;
        return value == 77 ? 0 : 2;
    });
    EXPECT_EQ(rc, 0);
}

} // namespace
