// Log: one record a line, appended to the file named by TORVIK_LOG, or sent to
// syslog under the module name when that variable is unset or empty. Nothing
// is ever written to standard output, which belongs to the caller's protocol.

#include "torvik.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <string>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

struct TSupportPrint {
    std::string module;
    unsigned long levels = 0;
    int fd = -1; // the log file, or -1 for syslog
};

namespace {

// A record longer than this is cut, so that a runaway format cannot eat memory.
constexpr size_t kMaxText = 16 * 1024;
constexpr unsigned long kErrorLevel = 1;

bool levelEnabled(const TSupportPrint* handle, unsigned long level)
{
    if (handle == nullptr || level == 0 || level > 8 * sizeof(unsigned long))
        return false;
    return (handle->levels >> (level - 1)) & 1UL;
}

// Keeps one record on one line: trailing line ends are dropped, inner control
// characters and the backslash are escaped.
std::string escapeText(const char* text, size_t length)
{
    while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r'))
        --length;
    std::string out;
    out.reserve(length);
    for (size_t i = 0; i < length; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        switch (c) {
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20 || c == 0x7f) {
                char hex[5];
                std::snprintf(hex, sizeof hex, "\\x%02x", c);
                out += hex;
            } else {
                out += static_cast<char>(c);
            }
        }
    }
    return out;
}

std::string formatText(const char* format, va_list args)
{
    if (format == nullptr)
        return std::string();
    std::string text(kMaxText, '\0');
    const int n = std::vsnprintf(text.data(), text.size() + 1, format, args);
    if (n < 0)
        return std::string("(unformattable record)");
    text.resize(static_cast<size_t>(n) < kMaxText ? static_cast<size_t>(n) : kMaxText);
    return text;
}

std::string timestamp()
{
    struct timeval now {};
    gettimeofday(&now, nullptr);
    struct tm local {};
    localtime_r(&now.tv_sec, &local);
    char date[32];
    char zone[8];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    std::strftime(zone, sizeof zone, "%z", &local);
    char out[64];
    std::snprintf(out, sizeof out, "%s.%03ld%s", date, static_cast<long>(now.tv_usec / 1000), zone);
    return out;
}

void writeAll(int fd, const std::string& record)
{
    // O_APPEND makes one write() one atomic append; a short write to a regular
    // file only happens when the disk is full, and then the rest would not fit either.
    ssize_t n;
    do {
        n = ::write(fd, record.data(), record.size());
    } while (n < 0 && errno == EINTR);
}

} // namespace

extern "C" {

TSupportPrint* support_print_init(const char* /*config*/, const char* module,
                                  unsigned long /*options*/, unsigned long levels)
{
    if (module == nullptr || *module == '\0')
        return nullptr;
    auto* handle = new (std::nothrow) TSupportPrint;
    if (handle == nullptr)
        return nullptr;
    try {
        handle->module = module;
    } catch (...) {
        delete handle;
        return nullptr;
    }
    handle->levels = levels;

    const char* file = std::getenv("TORVIK_LOG");
    if (file != nullptr && *file != '\0') {
        // O_NONBLOCK: a FIFO without a reader fails the open instead of blocking
        // the caller's start, and a stalled reader drops records rather than
        // stopping the caller. A regular file ignores the flag.
        handle->fd = ::open(file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600);
        if (handle->fd < 0) {
            delete handle;
            return nullptr;
        }
    } else {
        // syslog keeps the ident pointer: it lives in the handle until closelog().
        openlog(handle->module.c_str(), LOG_PID, LOG_USER);
    }
    return handle;
}

int support_print_is(const TSupportPrint* handle, unsigned long level)
{
    return levelEnabled(handle, level) ? 1 : 0;
}

void support_elprint_print_(const TSupportPrint* handle, const char* format,
                            const char* /*file*/, int line, const char* function, ...)
{
    if (!levelEnabled(handle, kErrorLevel))
        return;
    try {
        va_list args;
        va_start(args, function);
        const std::string raw = formatText(format, args);
        va_end(args);
        const std::string text = escapeText(raw.data(), raw.size());
        const std::string where = (function != nullptr && *function != '\0')
                                      ? escapeText(function, std::strlen(function))
                                      : std::string("?");

        if (handle->fd < 0) {
            syslog(LOG_ERR, "%s:%d: %s", where.c_str(), line, text.c_str());
            return;
        }
        // time pid module level function:line: text
        std::string record = timestamp();
        record += ' ';
        record += std::to_string(static_cast<long>(getpid()));
        record += ' ';
        record += handle->module;
        record += ' ';
        record += std::to_string(kErrorLevel);
        record += ' ';
        record += where;
        record += ':';
        record += std::to_string(line);
        record += ": ";
        record += text;
        record += '\n';
        writeAll(handle->fd, record);
    } catch (...) {
        // A record that cannot be built (out of memory) is dropped.
    }
}

void support_print_done(TSupportPrint* handle)
{
    if (handle == nullptr)
        return;
    if (handle->fd >= 0)
        ::close(handle->fd);
    else
        closelog();
    delete handle;
}

} // extern "C"
