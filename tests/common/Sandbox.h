// Sandbox.h: a temporary directory holding the helper's settings files and log,
// and an environment that points the helper, or this process, at them;
// removed with the sandbox.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace testkit {

class Sandbox {
public:
    Sandbox();
    ~Sandbox();
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

    const std::string& Dir() const { return m_dir; }
    std::string Path(const std::string& name) const { return m_dir + "/" + name; }
    void WriteFile(const std::string& name, const std::string& contents) const;
    // "" when the file does not exist.
    std::string ReadFile(const std::string& name) const;

    // "\local\KeyDevices\<name>" and "\global\KeyDevices\<name>"; each call rewrites the file.
    void SetLocal(const std::string& name, long long value) { Set("local.ini", name, value); }
    void SetGlobal(const std::string& name, long long value) { Set("global.ini", name, value); }
    std::string LocalConfig() const { return Path("local.ini"); }
    std::string GlobalConfig() const { return Path("global.ini"); }

    std::string LogPath() const { return Path("xvtui.log"); }
    std::string ReadLog() const { return ReadFile("xvtui.log"); }

    // Points this process's TORVIK_LOCAL_CONFIG, TORVIK_GLOBAL_CONFIG and
    // TORVIK_LOG at the sandbox's files until the sandbox is destroyed.
    void Export();

    void SetEnv(const std::string& name, const std::string& value) { m_env[name] = value; }
    void UnsetEnv(const std::string& name) { m_env[name] = std::nullopt; }

    // "NAME=value" entries: PATH, HOME, TMPDIR and sanitizer options of this
    // process; the TORVIK_* files above and the build tree's catalogues; LANG
    // and LC_ALL "C"; DISPLAY of the private Xvfb; GDK_NATIVE_WINDOWS=1 (so
    // XClient::ButtonWindows sees the buttons); G_DEBUG=fatal-warnings (a
    // toolkit warning fails the test); then SetEnv/UnsetEnv changes.
    std::vector<std::string> Environment() const;

private:
    void Set(const std::string& file, const std::string& name, long long value);

    std::string m_dir;
    bool m_exported = false;
    std::map<std::string, std::map<std::string, long long>> m_settings; // file -> name -> value
    std::map<std::string, std::optional<std::string>> m_env; // nullopt: removed
};

} // namespace testkit
