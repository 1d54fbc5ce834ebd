#include "L10nTestSupport.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace l10ntest {

namespace {

constexpr std::string_view kClearedPrefixes[] = {"LC_", "LANG", "NLSPATH", "TORVIK_"};

void ClearLocaleEnvironment()
{
    std::vector<std::string> names;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        std::string_view text(*entry);
        const std::string name(text.substr(0, text.find('=')));
        for (std::string_view prefix : kClearedPrefixes) {
            if (name.rfind(prefix, 0) == 0) {
                names.push_back(name);
            }
        }
    }
    for (const std::string& name : names) {
        unsetenv(name.c_str());
    }
}

void WriteAll(int fd, const std::string& text)
{
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return;
        }
        done += static_cast<std::size_t>(n);
    }
}

} // namespace

std::string RunInChild(const std::map<std::string, std::string>& env,
                       const std::function<std::string()>& body)
{
    int fds[2];
    if (pipe(fds) != 0) {
        return "CHILD FAILED: pipe";
    }
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid < 0) {
        close(fds[0]);
        close(fds[1]);
        return "CHILD FAILED: fork";
    }
    if (pid == 0) {
        close(fds[0]);
        int status = 0;
        std::string result;
        try {
            ClearLocaleEnvironment();
            for (const auto& [name, value] : env) {
                setenv(name.c_str(), value.c_str(), 1);
            }
            result = body();
        } catch (const std::exception& e) {
            result = std::string("CHILD FAILED: exception ") + e.what();
            status = 3;
        } catch (...) {
            result = "CHILD FAILED: unknown exception";
            status = 3;
        }
        WriteAll(fds[1], result);
        close(fds[1]);
        _exit(status);
    }
    close(fds[1]);
    std::string output;
    char buffer[4096];
    for (;;) {
        const ssize_t n = read(fds[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            break;
        }
        output.append(buffer, static_cast<std::size_t>(n));
    }
    close(fds[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status)) {
        return "CHILD FAILED: signal " + std::to_string(WTERMSIG(status)) + " after output \"" + output + "\"";
    }
    if (WEXITSTATUS(status) != 0 && output.rfind("CHILD FAILED", 0) != 0) {
        return "CHILD FAILED: status " + std::to_string(WEXITSTATUS(status));
    }
    return output;
}

TempDir::TempDir()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "xvtui-l10n-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("mkdtemp failed");
    }
    m_path = pattern;
}

TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string TempDir::Sub(const std::string& name) const
{
    const std::string path = m_path + "/" + name;
    std::filesystem::create_directories(path);
    return path;
}

bool CompileCatalog(const std::string& directory, const std::map<unsigned, std::string>& texts)
{
    const std::string source = directory + "/libcsp.msg";
    {
        std::ofstream out(source);
        out << "$quote \"\n$set 1\n";
        for (const auto& [id, text] : texts) {
            out << id << " \"" << text << "\"\n";
        }
        if (!out) {
            return false;
        }
    }
    const std::string command =
        "LC_ALL=C.UTF-8 gencat -o '" + directory + "/libcsp.cat' '" + source + "'";
    return std::system(command.c_str()) == 0;
}

} // namespace l10ntest
