// The settings store: path syntax, the local and global INI files, value
// syntax, and files that are missing, unreadable, malformed or hostile.
#include "support/torvik.h"
#include "common/Sandbox.h"
#include "common/UnitKit.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr long kUntouched = 0x5A5A;
constexpr unsigned kBad = TORVIK_ERROR_INVALID_DATA, kMissing = TORVIK_ERROR_FILE_NOT_FOUND, kAny = ~0u;

// Value texts of [KeyDevices] in the local file, as keys v0, v1, ...
const struct {
    const char* text;
    unsigned rc;
    long value = 0;
} kValues[] = {
    {"30", 0, 30}, {"-15", 0, -15}, {"8589934592", 0, 8589934592L}, {"0x1F", 0, 31},
    {"0xFFFFFFFFFFFFFFFF", 0, -1}, {"9223372036854775807", 0, LONG_MAX}, {"-9223372036854775808", 0, LONG_MIN},
    {"+7", 0, 7}, {"  42", 0, 42}, {"010", 0, 10}, // decimal, not octal
    {"9223372036854775808", kBad}, {"-9223372036854775809", kBad}, {"0x10000000000000000", kBad},
    {"12a", kBad}, {"", kBad}, {"1.5", kBad}, {"1 2", kBad}, {"-0x10", kBad}, {"0x", kBad}, {"-", kBad}, {"thirty", kBad},
};

// The code of a lookup; a failure must leave the value untouched.
unsigned Read(const char* path, long& value)
{
    value = kUntouched;
    const unsigned rc = support_registry_get_long(path, &value);
    if (rc != 0) {
        EXPECT_EQ(value, kUntouched) << path;
    }
    return rc;
}

class Registry : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string local = "# settings of this user\n[KeyDevices]\n#commented = 9\n";
        for (size_t i = 0; i < std::size(kValues); ++i)
            local += "v" + std::to_string(i) + " = " + kValues[i].text + "\n";
        m_box.WriteFile("local.ini", local + "[KeyDevices\\Deep\\Er]\nvalue = 5\n");
        m_box.WriteFile("global.ini", "[KeyDevices]\nv0 = 99\nonly_global = 7\n");
        setenv("TORVIK_LOCAL_CONFIG", m_box.LocalConfig().c_str(), 1);
        setenv("TORVIK_GLOBAL_CONFIG", m_box.GlobalConfig().c_str(), 1);
    }
    void TearDown() override
    {
        unsetenv("TORVIK_LOCAL_CONFIG");
        unsetenv("TORVIK_GLOBAL_CONFIG");
    }
    testkit::Sandbox m_box;
};

TEST_F(Registry, ValuesAndTheirSyntax)
{
    long value = 0;
    for (size_t i = 0; i < std::size(kValues); ++i) {
        const std::string path = "\\local\\KeyDevices\\v" + std::to_string(i);
        EXPECT_EQ(Read(path.c_str(), value), kValues[i].rc) << '"' << kValues[i].text << '"';
        if (kValues[i].rc == 0) {
            EXPECT_EQ(value, kValues[i].value) << '"' << kValues[i].text << '"';
        }
    }
    const struct {
        const char* path;
        unsigned rc;
        long value = 0;
    } lookups[] = {
        {"\\global\\KeyDevices\\v0", 0, 99}, {"\\global\\KeyDevices\\only_global", 0, 7},
        {"\\local\\KeyDevices\\only_global", kMissing}, {"\\local\\KeyDevices\\commented", kMissing},
        {"\\local\\NoSuchKey\\v0", kMissing}, {"\\local\\KeyDevices\\Deep\\Er\\value", 0, 5},
        {"\\local\\KeyDevices\\Deep\\value", kMissing},
    };
    for (const auto& c : lookups) {
        EXPECT_EQ(Read(c.path, value), c.rc) << c.path;
        if (c.rc == 0) {
            EXPECT_EQ(value, c.value) << c.path;
        }
    }
    for (const char* path : {"", "\\local\\", "\\local\\v0", "\\local\\KeyDevices\\", "\\local\\\\v0",
                             "\\local\\KeyDevices\\\\Deep\\v0", "local\\KeyDevices\\v0", "\\machine\\KeyDevices\\v0",
                             "\\local\\Key[Devices]\\v0", "\\local\\KeyDevices\\v0\nx"})
        EXPECT_EQ(Read(path, value), TORVIK_ERROR_INVALID_PARAMETER) << path;
    EXPECT_EQ(Read(nullptr, value), TORVIK_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(support_registry_get_long("\\local\\KeyDevices\\v0", nullptr), TORVIK_ERROR_INVALID_PARAMETER);
}

TEST_F(Registry, BadFilesFailWithoutCrashOrHang)
{
    ASSERT_EQ(mkfifo(m_box.Path("fifo").c_str(), 0600), 0); // no writer: opening must not block
    m_box.WriteFile("big.ini", "[KeyDevices]\nv0 = 1\n" + std::string(1024 * 1024 + 1, '#'));
    m_box.WriteFile("bad.ini", "[KeyDevices]\nv0 30\n");
    m_box.WriteFile("junk.ini", std::string("\x00\xff[\x01=", 5));
    const std::pair<std::string, unsigned> cases[] = {
        {m_box.Path("absent.ini"), kMissing}, {m_box.LocalConfig() + "/x.ini", kMissing},
        {m_box.Dir(), TORVIK_ERROR_ACCESS_DENIED}, {m_box.Path("fifo"), TORVIK_ERROR_ACCESS_DENIED},
        {m_box.Path("big.ini"), kBad}, {m_box.Path("bad.ini"), kBad}, {m_box.Path("junk.ini"), kAny},
    };
    long value = 0;
    for (const auto& [file, rc] : cases) {
        setenv("TORVIK_LOCAL_CONFIG", file.c_str(), 1);
        const unsigned got = Read("\\local\\KeyDevices\\v0", value);
        EXPECT_TRUE(rc == kAny ? got != 0 : got == rc) << file << ": " << got;
    }
    EXPECT_EQ(Read("\\global\\KeyDevices\\v0", value), 0u); // the other tree still answers
}

TEST_F(Registry, UnreadableFileAndDefaultLocation)
{
    // Permission bits do not stop root: the check drops to an unprivileged user.
    ASSERT_EQ(chmod(m_box.LocalConfig().c_str(), 0), 0);
    EXPECT_EQ(testkit::RunInChild({{"TORVIK_LOCAL_CONFIG", m_box.LocalConfig()}}, [] {
        long value = kUntouched;
        if (geteuid() == 0 && setuid(65534) != 0)
            return std::string("setuid failed");
        const unsigned rc = support_registry_get_long("\\local\\KeyDevices\\v0", &value);
        return std::to_string(rc) + " " + std::to_string(value);
    }), std::to_string(TORVIK_ERROR_ACCESS_DENIED) + " " + std::to_string(kUntouched));
    // The default local file is torvik/local.ini in the user's config directory.
    ASSERT_EQ(mkdir(m_box.Path("torvik").c_str(), 0700), 0);
    m_box.WriteFile("torvik/local.ini", "[KeyDevices]\nv0 = 77\n");
    EXPECT_EQ(testkit::RunInChild({{"XDG_CONFIG_HOME", m_box.Dir()}}, [] {
        long value = 0;
        const unsigned rc = support_registry_get_long("\\local\\KeyDevices\\v0", &value);
        return std::to_string(rc) + " " + std::to_string(value);
    }), "0 77");
}

} // namespace
