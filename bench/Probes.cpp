// Probes.cpp: the reference GTK dialog and the cold localisation pieces.
#include "bench/Probes.h"

#include "base/GetTimeout.h"
#include "l10n/CSPLocalizer.h"
#include "l10n/Cp1251.h"
#include "l10n/LocalizedText.h"

#include <chrono>
#include <cstdio>
#include <gtk/gtk.h>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

long long NowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

// The time points of the reference dialog, filled by its signal handlers.
struct ReferenceTimes {
    long long mapped = 0;
    long long exposed = 0;
};

gboolean cbOnMapEvent(GtkWidget*, GdkEvent*, gpointer data)
{
    auto* times = static_cast<ReferenceTimes*>(data);
    if (times != nullptr && times->mapped == 0)
        times->mapped = NowNs();
    return FALSE;
}

gboolean cbOnExposeEvent(GtkWidget*, GdkEventExpose*, gpointer data)
{
    auto* times = static_cast<ReferenceTimes*>(data);
    if (times != nullptr && times->exposed == 0)
        times->exposed = NowNs();
    return FALSE;
}

void cbOnResponse(GtkDialog*, gint, gpointer)
{
    if (gtk_main_level() > 0)
        gtk_main_quit();
}

void Print(const std::vector<std::pair<const char*, long long>>& figures)
{
    for (const auto& [name, value] : figures)
        std::printf("%s %lld\n", name, value);
    std::fflush(stdout);
}

int ReferenceDialog()
{
    const long long atMain = NowNs();
    if (!gtk_init_check(nullptr, nullptr))
        return 2;
    const long long afterInit = NowNs();

    // The first text measurement starts Pango and fontconfig and loads the
    // font; done apart so that its cost shows on its own.
    GtkWidget* probeLabel = gtk_label_new(nullptr);
    g_object_ref_sink(probeLabel);
    PangoLayout* layout = gtk_widget_create_pango_layout(probeLabel, "Xy \xD0\x96\xD0\xB6");
    int width = 0, height = 0;
    pango_layout_get_pixel_size(layout, &width, &height);
    g_object_unref(layout);
    gtk_widget_destroy(probeLabel);
    g_object_unref(probeLabel);
    const long long afterLayout = NowNs();

    GtkWidget* dialog = gtk_message_dialog_new(nullptr, GTK_DIALOG_DESTROY_WITH_PARENT, GTK_MESSAGE_QUESTION,
                                               GTK_BUTTONS_OK, "%s",
                                               "Old keys were found on this key carrier.");
    gtk_window_set_title(GTK_WINDOW(dialog), "Reference");
    GtkWidget* check = gtk_check_button_new_with_label("Do not show this warning again");
    gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(dialog))), check, TRUE, TRUE, 0);
    // Escape destroys the dialog before its response arrives; the weak
    // pointer is cleared then.
    g_object_add_weak_pointer(G_OBJECT(dialog), reinterpret_cast<gpointer*>(&dialog));
    ReferenceTimes times;
    g_signal_connect(dialog, "map-event", G_CALLBACK(cbOnMapEvent), &times);
    g_signal_connect_after(dialog, "expose-event", G_CALLBACK(cbOnExposeEvent), &times);
    g_signal_connect(dialog, "response", G_CALLBACK(cbOnResponse), nullptr);
    const long long afterBuild = NowNs();

    gtk_widget_show_all(dialog);
    const long long afterShow = NowNs();
    gtk_main();
    if (dialog != nullptr)
        gtk_widget_destroy(dialog);

    Print({{"main", atMain},
           {"gtk_init", afterInit},
           {"first_layout", afterLayout},
           {"built", afterBuild},
           {"shown", afterShow},
           {"mapped", times.mapped},
           {"exposed", times.exposed},
           {"text_height", height}});
    return 0;
}

int ColdLocalisation()
{
    const long long start = NowNs();
    CSPLocalizer localizer;
    const long long afterLocale = NowNs();
    LocalizedText term{"Cancel", CP1251_TEXT("Отмена")};
    localizer.Localize(term);
    const long long afterTerm = NowNs();
    const std::string first = localizer.Localize(2141u);
    const long long afterFirstLookup = NowNs();
    const std::string second = localizer.Localize(2142u);
    const long long afterSecondLookup = NowNs();
    // The frame reads three time-out settings for every dialog.
    const unsigned total = GetTimeout("passwd_time", 600) + GetTimeout("passwd_show_time", 60) +
                           GetTimeout("passwd_resume_time", 0);
    const long long afterSettings = NowNs();

    Print({{"locale", afterLocale - start},
           {"first_term", afterTerm - afterLocale},
           {"first_lookup", afterFirstLookup - afterTerm},
           {"second_lookup", afterSecondLookup - afterFirstLookup},
           {"settings", afterSettings - afterSecondLookup},
           {"catalogue_found", !first.empty() && !second.empty() ? 1 : 0},
           {"russian", CSPLocalizer::NeedLocalize() ? 1 : 0},
           {"timeouts", total}});
    return 0;
}

} // namespace

std::optional<int> RunProbe(std::string_view name)
{
    if (name == kProbeGtkDialog)
        return ReferenceDialog();
    if (name == kProbeL10n)
        return ColdLocalisation();
    return std::nullopt;
}

std::map<std::string, double> ParseProbeOutput(std::string_view output)
{
    std::map<std::string, double> figures;
    std::istringstream lines{std::string(output)};
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string name;
        double value = 0;
        if (words >> name >> value)
            figures[name] = value;
    }
    return figures;
}

} // namespace bench
