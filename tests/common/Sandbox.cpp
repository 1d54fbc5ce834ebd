// Sandbox.cpp: temporary settings, log and environment for one test.
#include "common/Sandbox.h"

#include "common/Xvfb.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace testkit {

Sandbox::Sandbox()
{
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") +
                          "/xvtui-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("Sandbox: mkdtemp: " + std::string(std::strerror(errno)));
    m_dir = pattern;
}

Sandbox::~Sandbox()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_dir, ignored);
}

void Sandbox::WriteFile(const std::string& name, const std::string& contents) const
{
    std::ofstream out(Path(name), std::ios::binary | std::ios::trunc);
    out << contents;
    if (!out)
        throw std::runtime_error("Sandbox: cannot write " + Path(name));
}

std::string Sandbox::ReadFile(const std::string& name) const
{
    std::ifstream in(Path(name), std::ios::binary);
    std::ostringstream contents;
    contents << in.rdbuf();
    return contents.str();
}

void Sandbox::WriteSettings(const std::string& file, const std::map<std::string, long long>& values) const
{
    std::string text = "[KeyDevices]\n";
    for (const auto& [name, value] : values)
        text += name + " = " + std::to_string(value) + "\n";
    WriteFile(file, text);
}

void Sandbox::SetLocal(const std::string& name, long long value)
{
    m_local[name] = value;
    WriteSettings("local.ini", m_local);
}

void Sandbox::SetGlobal(const std::string& name, long long value)
{
    m_global[name] = value;
    WriteSettings("global.ini", m_global);
}

std::vector<std::string> Sandbox::Environment() const
{
    std::map<std::string, std::string> env;
    for (const char* name : {"PATH", "HOME", "TMPDIR", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        if (const char* value = std::getenv(name))
            env[name] = value;
    }
    env["TORVIK_LOCAL_CONFIG"] = LocalConfig();
    env["TORVIK_GLOBAL_CONFIG"] = GlobalConfig();
    env["TORVIK_LOG"] = LogPath();
#ifdef XVTUI_CATALOG_DIR
    env["TORVIK_CATALOG_DIR"] = XVTUI_CATALOG_DIR;
#endif
#ifdef XVTUI_RU_CATALOG_DIR
    env["TORVIK_LOCALE_CATALOG_DIR"] = XVTUI_RU_CATALOG_DIR;
#endif
    // The private server of this process, unless the test chose a display.
    if (m_env.find("DISPLAY") == m_env.end())
        env["DISPLAY"] = PrivateDisplay();
    env["LANG"] = "C";
    env["LC_ALL"] = "C";
    env["GDK_NATIVE_WINDOWS"] = "1";
    for (const auto& [name, value] : m_env) {
        if (value)
            env[name] = *value;
        else
            env.erase(name);
    }
    std::vector<std::string> entries;
    for (const auto& [name, value] : env)
        entries.push_back(name + "=" + value);
    return entries;
}

} // namespace testkit
