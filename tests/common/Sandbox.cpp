// Sandbox.cpp: temporary settings, log and environment for one test.
#include "common/Sandbox.h"

#include "common/Xvfb.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace testkit {

Sandbox::Sandbox() : m_dir((std::filesystem::temp_directory_path() / "xvtui-test-XXXXXX").string())
{
    if (mkdtemp(m_dir.data()) == nullptr)
        throw std::runtime_error("Sandbox: mkdtemp failed for " + m_dir);
}

Sandbox::~Sandbox()
{
    if (m_exported)
        for (const char* name : {"TORVIK_LOCAL_CONFIG", "TORVIK_GLOBAL_CONFIG", "TORVIK_LOG"})
            unsetenv(name);
    std::error_code ignored;
    std::filesystem::remove_all(m_dir, ignored);
}

void Sandbox::WriteFile(const std::string& name, const std::string& contents) const
{
    if (!(std::ofstream(Path(name), std::ios::binary) << contents))
        throw std::runtime_error("Sandbox: cannot write " + Path(name));
}

std::string Sandbox::ReadFile(const std::string& name) const
{
    std::ostringstream contents;
    contents << std::ifstream(Path(name), std::ios::binary).rdbuf();
    return contents.str();
}

void Sandbox::Export()
{
    setenv("TORVIK_LOCAL_CONFIG", LocalConfig().c_str(), 1);
    setenv("TORVIK_GLOBAL_CONFIG", GlobalConfig().c_str(), 1);
    setenv("TORVIK_LOG", LogPath().c_str(), 1);
    m_exported = true;
}

void Sandbox::Set(const std::string& file, const std::string& name, long long value)
{
    m_settings[file][name] = value;
    std::string text = "[KeyDevices]\n";
    for (const auto& [key, number] : m_settings[file])
        text += key + " = " + std::to_string(number) + "\n";
    WriteFile(file, text);
}

std::vector<std::string> Sandbox::Environment() const
{
    std::map<std::string, std::string> env = {
        {"TORVIK_LOCAL_CONFIG", LocalConfig()},  {"TORVIK_GLOBAL_CONFIG", GlobalConfig()},
        {"TORVIK_LOG", LogPath()},               {"TORVIK_CATALOG_DIR", XVTUI_CATALOG_DIR},
        {"TORVIK_LOCALE_CATALOG_DIR", XVTUI_RU_CATALOG_DIR},
        {"LANG", "C"},                           {"LC_ALL", "C"},
        {"GDK_NATIVE_WINDOWS", "1"},             {"G_DEBUG", "fatal-warnings"}};
    for (const char* name : {"PATH", "HOME", "TMPDIR", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS"})
        if (const char* value = std::getenv(name))
            env[name] = value;
    if (!m_env.contains("DISPLAY")) // a test's own choice does not start the server
        env["DISPLAY"] = PrivateDisplay();
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

