// Helpers of the localisation tests: a child process per situation, because
// the locale is recognised and each catalogue opened once per process, and
// catalogues compiled with gencat into a temporary directory.
#pragma once

#include <functional>
#include <map>
#include <string>

namespace l10ntest {

// Runs `body` in a forked child whose environment has no locale, NLSPATH or
// TORVIK_* variables except those in `env`, and returns the text the body
// produced. A child that throws, crashes or exits abnormally yields a text
// starting with "CHILD FAILED", so that the comparison shows it.
std::string RunInChild(const std::map<std::string, std::string>& env,
                       const std::function<std::string()>& body);

// A temporary directory removed with everything in it at destruction.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& Path() const { return m_path; }
    // Creates (if needed) and returns the subdirectory `name`.
    std::string Sub(const std::string& name) const;

private:
    std::string m_path;
};

// Compiles `texts` (set 1, id -> UTF-8 text) with gencat into `directory`/libcsp.cat.
// Returns false when gencat failed.
bool CompileCatalog(const std::string& directory, const std::map<unsigned, std::string>& texts);

// The text numbers the dialogs read from the catalogue.
inline constexpr unsigned kCatalogNumbers[] = {2003, 2020, 2025, 2027, 2096, 2098,
                                               2099, 2118, 2141, 2142, 2143, 2144};

} // namespace l10ntest
