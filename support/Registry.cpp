// Settings: a registry-style path "\local\Key\...\name" or "\global\Key\...\name"
// read from an INI file. The scope picks the file, the keys between scope and
// value name form the section (joined with "\"), the value name is the key.

#include "torvik.h"

#include <glib.h>

#include <cerrno>
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A settings file is a few lines; anything larger is refused unread so that a
// hostile file cannot make the reader allocate without bound.
constexpr size_t kMaxFileSize = 1024 * 1024;

struct SettingPath {
    bool local = false;
    std::string section;
    std::string name;
};

bool parsePath(const char* path, SettingPath& out)
{
    if (path == nullptr)
        return false;
    std::string_view rest(path);
    constexpr std::string_view localScope = "\\local\\";
    constexpr std::string_view globalScope = "\\global\\";
    if (rest.starts_with(localScope)) {
        out.local = true;
        rest.remove_prefix(localScope.size());
    } else if (rest.starts_with(globalScope)) {
        out.local = false;
        rest.remove_prefix(globalScope.size());
    } else {
        return false;
    }
    for (const char c : rest) {
        if (static_cast<unsigned char>(c) < 0x20 || c == '[' || c == ']' || c == '=')
            return false;
    }
    const size_t last = rest.rfind('\\');
    if (last == std::string_view::npos)
        return false; // a value name needs at least one key above it
    const std::string_view section = rest.substr(0, last);
    const std::string_view name = rest.substr(last + 1);
    if (section.empty() || name.empty() || section.front() == '\\' || section.back() == '\\' ||
        section.find("\\\\") != std::string_view::npos)
        return false;
    out.section.assign(section);
    out.name.assign(name);
    return true;
}

std::string settingsFile(bool local)
{
    const char* overridden = std::getenv(local ? "TORVIK_LOCAL_CONFIG" : "TORVIK_GLOBAL_CONFIG");
    if (overridden != nullptr && *overridden != '\0')
        return overridden;
    if (!local)
        return std::string(TORVIK_DEFAULT_SYSCONFDIR) + "/torvik/global.ini";
    return std::string(g_get_user_config_dir()) + "/torvik/local.ini";
}

unsigned int readFile(const std::string& file, std::string& contents)
{
    // O_NONBLOCK keeps a FIFO from blocking the open; only regular files are read.
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0)
        return (errno == ENOENT || errno == ENOTDIR) ? TORVIK_ERROR_FILE_NOT_FOUND
                                                     : TORVIK_ERROR_ACCESS_DENIED;
    unsigned int result = 0;
    struct stat info {};
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        result = TORVIK_ERROR_ACCESS_DENIED;
    } else if (static_cast<unsigned long long>(info.st_size) > kMaxFileSize) {
        result = TORVIK_ERROR_INVALID_DATA;
    } else {
        // Room for what the file holds now plus one byte; a file that grew
        // meanwhile gets more room, up to one byte past the cap, which
        // refuses it. Nothing beyond what the file holds is allocated.
        contents.resize(std::min(static_cast<size_t>(info.st_size), kMaxFileSize) + 1);
        size_t used = 0;
        for (;;) {
            if (used == contents.size()) {
                if (used > kMaxFileSize)
                    break;
                contents.resize(std::min(used * 2, kMaxFileSize + 1));
            }
            const ssize_t n = ::read(fd, contents.data() + used, contents.size() - used);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0) {
                result = TORVIK_ERROR_ACCESS_DENIED;
                break;
            }
            if (n == 0)
                break;
            used += static_cast<size_t>(n);
        }
        contents.resize(used);
        if (result == 0 && used > kMaxFileSize)
            result = TORVIK_ERROR_INVALID_DATA;
    }
    ::close(fd);
    return result;
}

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

// A whole number: optional sign and decimal digits, or 0x and hex digits (a 64-bit
// pattern). Surrounding blanks are allowed, anything else is not.
bool parseNumber(std::string_view text, long& value)
{
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);

    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        text.remove_prefix(2);
        uint64_t bits = 0;
        for (const char c : text) {
            int digit;
            if (c >= '0' && c <= '9')
                digit = c - '0';
            else if (c >= 'a' && c <= 'f')
                digit = c - 'a' + 10;
            else if (c >= 'A' && c <= 'F')
                digit = c - 'A' + 10;
            else
                return false;
            if (bits > (UINT64_MAX >> 4))
                return false;
            bits = (bits << 4) | static_cast<uint64_t>(digit);
        }
        value = static_cast<long>(static_cast<int64_t>(bits));
        return true;
    }

    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    if (text.empty())
        return false;
    // Accumulate towards the negative side, which holds one more value.
    int64_t accumulated = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return false;
        if (__builtin_mul_overflow(accumulated, 10, &accumulated) ||
            __builtin_sub_overflow(accumulated, c - '0', &accumulated))
            return false;
    }
    if (!negative) {
        if (accumulated == INT64_MIN)
            return false;
        accumulated = -accumulated;
    }
    value = static_cast<long>(accumulated);
    return true;
}

static_assert(sizeof(long) == sizeof(int64_t), "settings values are 64-bit longs");

bool loads(const std::string& text)
{
    GKeyFile* keys = g_key_file_new();
    const bool loaded = g_key_file_load_from_data(keys, text.data(), text.size(), G_KEY_FILE_NONE, nullptr);
    g_key_file_free(keys);
    return loaded;
}

// GKeyFile refuses a whole file for one line it cannot read; settings skip
// such a line instead (a stray word, binary bytes) and read the rest. Each
// line is judged by GKeyFile alone: comments and blank lines stay, a section
// line stays when it reads, a key line when it reads inside a section. Keys
// under a section line that does not read are skipped up to the next one
// that does, so they never land in the section before it.
std::string usableLines(std::string_view contents)
{
    std::string kept;
    bool inSection = false;
    while (!contents.empty()) {
        const size_t end = std::min(contents.find('\n'), contents.size());
        const std::string_view line = contents.substr(0, end);
        contents.remove_prefix(std::min(end + 1, contents.size()));
        if (line.find('\0') != std::string_view::npos)
            continue;
        std::string_view text = line;
        while (!text.empty() && isSpace(text.front()))
            text.remove_prefix(1);
        bool keep;
        if (text.empty() || text.front() == '#')
            keep = true;
        else if (text.front() == '[')
            keep = inSection = loads(std::string(line) + "\n");
        else
            keep = inSection && loads("[s]\n" + std::string(line) + "\n");
        if (keep)
            kept.append(line).push_back('\n');
    }
    return kept;
}

} // namespace

extern "C" unsigned int support_registry_get_long(const char* path, long* value)
{
    if (value == nullptr)
        return TORVIK_ERROR_INVALID_PARAMETER;
    try {
        SettingPath where;
        if (!parsePath(path, where))
            return TORVIK_ERROR_INVALID_PARAMETER;

        std::string contents;
        if (const unsigned int error = readFile(settingsFile(where.local), contents); error != 0)
            return error;

        contents = usableLines(contents);
        GKeyFile* keys = g_key_file_new();
        unsigned int result = TORVIK_ERROR_INVALID_DATA;
        if (g_key_file_load_from_data(keys, contents.data(), contents.size(), G_KEY_FILE_NONE,
                                      nullptr)) {
            gchar* text = g_key_file_get_value(keys, where.section.c_str(), where.name.c_str(),
                                               nullptr);
            if (text == nullptr) {
                result = TORVIK_ERROR_FILE_NOT_FOUND;
            } else {
                long parsed = 0;
                if (parseNumber(text, parsed)) {
                    *value = parsed;
                    result = 0;
                }
                g_free(text);
            }
        }
        g_key_file_free(keys);
        return result;
    } catch (...) {
        return TORVIK_ERROR_ACCESS_DENIED;
    }
}
