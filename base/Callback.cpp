#include "base/Callback.h"

#include <gtk/gtk.h>

#include "app/xvtui_exception.h"

namespace callback {
namespace {

// The one parked exception of the process. The helper runs one main loop on
// one thread, so one slot is enough; a second exception raised while the
// loops wind down is a consequence of the first and is dropped.
std::exception_ptr& Slot() noexcept
{
    static std::exception_ptr parked;
    return parked;
}

// gtk_dialog_run spins its own GMainLoop, which gtk_main_quit does not end;
// it returns when its dialog is unmapped, so hide every shown dialog.
void EndNestedDialogRuns() noexcept
{
    // The list does not hold references, and hiding runs handlers.
    GList* toplevels = gtk_window_list_toplevels();
    for (GList* item = toplevels; item != nullptr; item = item->next)
        g_object_ref(item->data);
    for (GList* item = toplevels; item != nullptr; item = item->next) {
        GtkWidget* widget = GTK_WIDGET(item->data);
        if (GTK_IS_DIALOG(widget) && gtk_widget_get_visible(widget))
            gtk_widget_hide(widget);
    }
    for (GList* item = toplevels; item != nullptr; item = item->next)
        g_object_unref(item->data);
    g_list_free(toplevels);
}

} // namespace

void ThrowBadArgs(const char* callbackName)
{
    throw xvtui_exception(ResultCode::BadArgs, callbackName != nullptr ? callbackName : "",
                          "Bad args in callback function");
}

void Park(std::exception_ptr error) noexcept
{
    if (!Slot())
        Slot() = error;
    EndNestedDialogRuns();
    if (gtk_main_level() > 0)
        gtk_main_quit();
}

bool HasParked() noexcept
{
    return static_cast<bool>(Slot());
}

std::exception_ptr TakeParked() noexcept
{
    std::exception_ptr error;
    error.swap(Slot());
    return error;
}

void RethrowParked()
{
    if (std::exception_ptr error = TakeParked())
        std::rethrow_exception(error);
}

} // namespace callback
