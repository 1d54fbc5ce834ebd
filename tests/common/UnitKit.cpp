// UnitKit.cpp: child processes and catalogues for unit tests.
#include "common/UnitKit.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <glib.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace testkit {

std::string RunInChild(const std::map<std::string, std::string>& env,
                       const std::function<std::string()>& body)
{
    int fds[2];
    if (pipe(fds) != 0)
        return "CHILD FAILED: pipe";
    std::fflush(nullptr); // the child must not repeat output buffered here
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        std::string result = "CHILD FAILED: exception";
        try {
            gchar** names = g_listenv();
            for (gchar** name = names; *name != nullptr; ++name)
                for (std::string_view prefix : {"LC_", "LANG", "NLSPATH", "TORVIK_"})
                    if (std::string_view(*name).starts_with(prefix))
                        unsetenv(*name);
            g_strfreev(names);
            for (const auto& [name, value] : env)
                setenv(name.c_str(), value.c_str(), 1);
            result = body();
        } catch (...) {
        }
        FILE* out = fdopen(fds[1], "w");
        const bool sent = out != nullptr && fwrite(result.data(), 1, result.size(), out) == result.size();
        _exit(out != nullptr && std::fclose(out) == 0 && sent ? 0 : 1);
    }
    close(fds[1]);
    std::string output;
    char buffer[4096];
    for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) != 0;) {
        if (n > 0)
            output.append(buffer, static_cast<size_t>(n));
        else if (errno != EINTR)
            break;
    }
    close(fds[0]);
    int status = 0;
    while (pid > 0 && waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return pid > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? output : "CHILD FAILED: " + output;
}

bool Gencat(const std::string& cat, const std::string& msg)
{
    std::ofstream(cat + ".msg") << msg;
    return std::system(("LC_ALL=C.UTF-8 gencat -o '" + cat + "' '" + cat + ".msg'").c_str()) == 0;
}

} // namespace testkit
