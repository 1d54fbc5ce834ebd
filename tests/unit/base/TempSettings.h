// TempSettings.h: settings files and a log in a private temporary directory,
// named by the support library's environment variables for this process.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <unistd.h>

class TempSettings {
public:
    TempSettings()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "xvtui-base-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("mkdtemp failed");
        m_dir = pattern;
        setenv("TORVIK_LOCAL_CONFIG", (m_dir / "local.ini").c_str(), 1);
        setenv("TORVIK_GLOBAL_CONFIG", (m_dir / "global.ini").c_str(), 1);
        setenv("TORVIK_LOG", (m_dir / "log.txt").c_str(), 1);
    }
    ~TempSettings()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_dir, ignored);
    }

    // Writes `content` as the local or global settings file; nullptr removes it.
    void SetLocal(const char* content) { Write("local.ini", content); }
    void SetGlobal(const char* content) { Write("global.ini", content); }
    std::string Log() const
    {
        std::ifstream in(m_dir / "log.txt");
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

private:
    void Write(const char* name, const char* content)
    {
        if (content == nullptr)
            std::filesystem::remove(m_dir / name);
        else
            std::ofstream(m_dir / name, std::ios::trunc) << content;
    }

    std::filesystem::path m_dir;
};
