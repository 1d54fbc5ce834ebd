// Sandbox.h: a private directory with the helper's settings, log and environment.
//
// Each test gets its own temporary directory holding the local and global
// settings files and the log file, and an environment for the helper that
// points the support library at them and at the catalogues of the build tree.
// The directory is removed when the sandbox goes.
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
    // The file's contents, or "" when it does not exist.
    std::string ReadFile(const std::string& name) const;

    // Settings under "\local\KeyDevices\<name>" and "\global\KeyDevices\<name>"
    // (section "KeyDevices" of the local and the global INI file). Each call
    // rewrites the file.
    void SetLocal(const std::string& name, long long value);
    void SetGlobal(const std::string& name, long long value);
    std::string LocalConfig() const { return Path("local.ini"); }
    std::string GlobalConfig() const { return Path("global.ini"); }

    std::string LogPath() const { return Path("xvtui.log"); }
    std::string ReadLog() const { return ReadFile("xvtui.log"); }

    // Variables of the helper's environment, beyond the defaults below.
    void SetEnv(const std::string& name, const std::string& value) { m_env[name] = value; }
    void UnsetEnv(const std::string& name) { m_env[name] = std::nullopt; }

    // "NAME=value" entries for the helper: PATH and HOME (and sanitizer
    // options) from this process, TORVIK_LOCAL_CONFIG, TORVIK_GLOBAL_CONFIG,
    // TORVIK_LOG, TORVIK_CATALOG_DIR and TORVIK_LOCALE_CATALOG_DIR of the
    // build tree, LANG and LC_ALL "C", DISPLAY of this process's private
    // Xvfb (started here if needed) and GDK_NATIVE_WINDOWS=1 (so XClient::ButtonWindows
    // sees the buttons); then whatever SetEnv/UnsetEnv changed.
    std::vector<std::string> Environment() const;

private:
    void WriteSettings(const std::string& file, const std::map<std::string, long long>& values) const;

    std::string m_dir;
    std::map<std::string, long long> m_local;
    std::map<std::string, long long> m_global;
    std::map<std::string, std::optional<std::string>> m_env; // nullopt: removed
};

} // namespace testkit
