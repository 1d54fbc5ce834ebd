// Doctor.cpp: the checks of `xvtui-ask doctor`.
#include "client/Doctor.h"

#include "client/HelperProcess.h"
#include "client/Request.h"
#include "support/torvik.h"

#include <X11/Xlib.h>

#include <chrono>
#include <clocale>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <locale.h>
#include <nl_types.h>
#include <sstream>
#include <string_view>
#include <unistd.h>

extern char** environ;

namespace xvtui::client {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view kLibrary = "libtorvik.so.4";
constexpr int kCatalogSet = 1;

DoctorCheck Ok(std::string what)
{
    return {true, std::move(what), {}};
}

DoctorCheck Fail(std::string what, std::string fix)
{
    return {false, std::move(what), std::move(fix)};
}

std::string Env(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

// The support library as the helper's dynamic loader resolves it (the
// loader's trace mode lists the libraries and runs nothing): its path, or
// empty with `problem` set.
std::string ResolveLibrary(const std::string& helper, std::string& problem)
{
    LaunchOptions options;
    options.helper = helper;
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry)
        environment.emplace_back(*entry);
    environment.emplace_back("LD_TRACE_LOADED_OBJECTS=1");
    options.environment = environment;
    const RunResult run = Run(RawRequest({}), options, 10s);
    std::istringstream lines{std::string(run.output.view())};
    for (std::string line; std::getline(lines, line);) {
        const size_t name = line.find(kLibrary);
        const size_t arrow = line.find(" => ");
        if (name == std::string::npos || arrow == std::string::npos || arrow < name)
            continue;
        std::string target = line.substr(arrow + 4);
        if (target.rfind("not found", 0) == 0) {
            problem = "the helper's loader finds no " + std::string(kLibrary);
            return {};
        }
        return std::filesystem::path(target.substr(0, target.find(" ("))).lexically_normal();
    }
    problem = "the helper does not load " + std::string(kLibrary);
    return {};
}

struct Library {
    void* handle = nullptr;
    decltype(&csp_get_paths) paths = nullptr;
    decltype(&support_registry_get_long) getLong = nullptr;
};

DoctorCheck CheckLibrary(const std::string& helper, Library& library)
{
    std::string problem;
    const std::string path = ResolveLibrary(helper, problem);
    if (path.empty())
        return Fail("support library: " + problem,
                    "reinstall the xvtui package, or build with -DTORVIK_LIBRARY=/path/to/" + std::string(kLibrary));
    library.handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library.handle == nullptr)
        return Fail("support library " + path + " does not load: " + dlerror(),
                    "reinstall the package that provides " + path);
    library.paths = reinterpret_cast<decltype(library.paths)>(dlsym(library.handle, "csp_get_paths"));
    library.getLong =
        reinterpret_cast<decltype(library.getLong)>(dlsym(library.handle, "support_registry_get_long"));
    if (library.paths == nullptr || library.getLong == nullptr)
        return Fail("support library " + path + " lacks csp_get_paths or support_registry_get_long",
                    "link the helper with a " + std::string(kLibrary) + " that offers the provider's calls");
    return Ok("support library: " + path);
}

DoctorCheck CheckDisplay()
{
    const std::string name = Env("DISPLAY");
    if (name.empty())
        return Fail("display: DISPLAY is not set, so no dialog can appear",
                    "run the provider in the user's X session, or set DISPLAY (for example DISPLAY=:0)");
    Display* display = XOpenDisplay(name.c_str());
    if (display == nullptr)
        return Fail("display " + name + " does not answer or refuses this user",
                    "start the X server on " + name +
                        ", or let this user in (XAUTHORITY naming the session's cookie, or xhost +SI:localuser:$USER)");
    XCloseDisplay(display);
    return Ok("display " + name + " answers");
}

DoctorCheck CheckLocale(const char* name, const char* localeGenLine)
{
    locale_t locale = newlocale(LC_MESSAGES_MASK, name, static_cast<locale_t>(0));
    if (locale == static_cast<locale_t>(0))
        return Fail(std::string("locale ") + name + " is not generated: the dialogs stay English in it",
                    std::string("add '") + localeGenLine + "' to /etc/locale.gen and run locale-gen");
    freelocale(locale);
    return Ok(std::string("locale ") + name + " is generated");
}

DoctorCheck CheckCatalog(const Library& library, int entry, const char* which, const char* variable)
{
    const std::string dir = library.paths != nullptr ? library.paths()[entry] : "";
    const std::string fix = std::string("reinstall the xvtui package, or set ") + variable +
                            " to the directory holding the " + which + " libcsp.cat";
    if (library.paths == nullptr)
        return Fail(std::string(which) + " catalogue: not checked without the support library",
                    "fix the support library first");
    if (dir.empty())
        return Fail(std::string(which) + " catalogue: the support library names no directory (entry " +
                        std::to_string(entry) + ")",
                    fix);
    const std::string file = std::filesystem::path(dir + "/libcsp.cat").lexically_normal();
    nl_catd catalog = catopen(file.c_str(), NL_CAT_LOCALE);
    if (catalog == reinterpret_cast<nl_catd>(-1))
        return Fail(std::string(which) + " catalogue not found: " + file, fix);
    static const char missing[] = "";
    std::string absent;
    for (const unsigned id : kCatalogTextsUsed)
        if (catgets(catalog, kCatalogSet, static_cast<int>(id), missing) == missing)
            absent += (absent.empty() ? "" : ", ") + std::to_string(id);
    catclose(catalog);
    if (!absent.empty())
        return Fail(std::string(which) + " catalogue " + file + " lacks texts " + absent,
                    "install the complete libcsp.cat there (reinstall the xvtui package)");
    return Ok(std::string(which) + " catalogue: " + file);
}

// The file the open support library reads for a scope, for the fix line.
std::string SettingsFile(bool local)
{
    const std::string overridden = Env(local ? "TORVIK_LOCAL_CONFIG" : "TORVIK_GLOBAL_CONFIG");
    if (!overridden.empty())
        return overridden;
    if (!local)
        return XVTUI_SYSCONFDIR "/torvik/global.ini";
    const std::string xdg = Env("XDG_CONFIG_HOME");
    return (xdg.empty() ? Env("HOME") + "/.config" : xdg) + "/torvik/local.ini";
}

DoctorCheck CheckSettings(const Library& library, bool local)
{
    static const char* const kPrefixes[] = {"passwd", "selcar", "choice", "bio", "message"};
    static const char* const kSuffixes[] = {"_time", "_show_time", "_resume_time"};
    const std::string scope = local ? "\\local\\KeyDevices" : "\\global\\KeyDevices";
    if (library.getLong == nullptr)
        return Fail("settings " + scope + ": not checked without the support library",
                    "fix the support library first");
    const std::string file = SettingsFile(local);
    int set = 0;
    std::string notNumbers;
    for (const char* prefix : kPrefixes) {
        for (const char* suffix : kSuffixes) {
            const std::string name = std::string(prefix) + suffix;
            long value = 0;
            const unsigned result = library.getLong((scope + "\\" + name).c_str(), &value);
            if (result == 0)
                ++set;
            else if (result == TORVIK_ERROR_ACCESS_DENIED)
                return Fail("settings " + scope + " cannot be read (" + file + ")",
                            "make " + file + " a readable file (chmod a+r), or remove it");
            else if (result == TORVIK_ERROR_INVALID_DATA)
                notNumbers += (notNumbers.empty() ? "" : ", ") + name;
            else if (result != TORVIK_ERROR_FILE_NOT_FOUND)
                return Fail("settings " + scope + ": the support library refuses " + name +
                                " with error " + std::to_string(result),
                            "check the support library's settings store");
        }
    }
    if (!notNumbers.empty())
        return Fail("settings " + scope + " hold values that are not whole numbers: " + notNumbers,
                    "in " + file + ", section [KeyDevices], give each a number of seconds or remove it");
    return Ok("settings " + scope + ": " + std::to_string(set) + " of 15 time-out values set, the rest default");
}

} // namespace

std::vector<DoctorCheck> RunDoctor(const std::string& helper)
{
    std::vector<DoctorCheck> checks;
    Library library;
    if (access(helper.c_str(), X_OK) != 0) {
        checks.push_back(Fail("helper " + helper + " is missing or not executable",
                              "install the xvtui package, or name the helper with --helper PATH or XVTUI_HELPER"));
    } else {
        checks.push_back(Ok("helper: " + helper));
        checks.push_back(CheckLibrary(helper, library));
    }
    checks.push_back(CheckDisplay());
    checks.push_back(CheckLocale("ru_RU.UTF-8", "ru_RU.UTF-8 UTF-8"));
    checks.push_back(CheckLocale("ru_RU.cp1251", "ru_RU.CP1251 CP1251"));
    checks.push_back(CheckCatalog(library, TORVIK_PATH_CATALOG, "English", "TORVIK_CATALOG_DIR"));
    checks.push_back(CheckCatalog(library, TORVIK_PATH_LOCALE_CATALOG, "Russian", "TORVIK_LOCALE_CATALOG_DIR"));
    checks.push_back(CheckSettings(library, true));
    checks.push_back(CheckSettings(library, false));
    // The library stays loaded: its path table may be referenced until exit.
    return checks;
}

std::string FormatDoctor(const std::vector<DoctorCheck>& checks)
{
    std::string out;
    for (const DoctorCheck& check : checks) {
        out += (check.ok ? "ok    " : "FAIL  ") + check.what + "\n";
        if (!check.ok)
            out += "      fix: " + check.fix + "\n";
    }
    return out;
}

bool DoctorPassed(const std::vector<DoctorCheck>& checks)
{
    for (const DoctorCheck& check : checks)
        if (!check.ok)
            return false;
    return true;
}

} // namespace xvtui::client
