// Small helpers shared by the support library's tests: a temporary directory,
// file writing, and running a check in a child process (for state that the
// library computes once per process).
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace supporttest {

class TempDir {
public:
    TempDir()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "torvik-test-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("mkdtemp failed");
        m_path = pattern;
    }
    ~TempDir()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string File(const std::string& name) const { return m_path + "/" + name; }
    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

inline void WriteFile(const std::string& path, const std::string& contents)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << contents;
    if (!out)
        throw std::runtime_error("cannot write " + path);
}

inline std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Runs `body` in a forked child and returns its exit status (0 is success), or
// -1 when the child did not exit normally. The child never returns into gtest.
inline int RunInChild(const std::function<int()>& body)
{
    std::fflush(nullptr); // the child must not repeat output buffered by the parent
    const pid_t pid = fork();
    if (pid < 0)
        return -1;
    if (pid == 0) {
        int code = 99;
        try {
            code = body();
        } catch (...) {
        }
        _exit(code);
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace supporttest
