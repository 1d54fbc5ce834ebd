// UnitKit.h: checks in a fresh child process, for state a library computes once
// per process (locale, path table, catalogues), and catalogues for a test.
#pragma once

#include <functional>
#include <map>
#include <string>

namespace testkit {

// Runs `body` in a forked child whose environment keeps no LANG, LC_*, NLSPATH
// or TORVIK_* variables but those in `env`; returns the body's text, or a text
// starting with "CHILD FAILED" when it threw or the child died.
std::string RunInChild(const std::map<std::string, std::string>& env,
                       const std::function<std::string()>& body);

// Compiles the gencat source `msg` into the catalogue `cat` (under C.UTF-8, so
// gencat accepts UTF-8 texts); false when gencat failed.
bool Gencat(const std::string& cat, const std::string& msg);

} // namespace testkit
