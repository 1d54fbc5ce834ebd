/*
 * Callback.h: the one idiom for GTK signal handlers and timers.
 *
 * Every handler is a file-local free function named cbOn... (or cbTimerEvent,
 * cbToggleCheckButton) that receives its dialog as the user-data pointer and
 * forwards to one member of the dialog. callback::Forward does the common part:
 *
 *   - user data null (or, with ForwardEvent, the event null): raises
 *     xvtui_exception(ResultCode::BadArgs, <callback name>,
 *                     "Bad args in callback function");
 *   - otherwise static_cast<Dialog*>(data) and call the member;
 *   - any exception, that one included, stops here, before GTK's C frames:
 *     it is parked (the first one is kept, later ones are dropped), the
 *     loops that run the dialog are ended (gtk_main_quit, and every shown
 *     GtkDialog top-level is hidden so that a nested gtk_dialog_run returns),
 *     and the handler returns a value-initialised result (FALSE for a
 *     gboolean: a timer stops, an event propagates).
 *   - ShowDialog calls callback::RethrowParked() once gtk_main has returned,
 *     so the exception reaches the process entry as if raised there.
 *
 * Usage, in the dialog's .cpp:
 *
 *   namespace {
 *   gboolean cbOnTimer(gpointer data)
 *   {
 *       return callback::Forward<BaseDialog>("cbOnTimer", data, &BaseDialog::OnTimer);
 *   }
 *   void cbOnOKClicked(GtkWidget*, gpointer data)
 *   {
 *       callback::Forward<MyDialog>("cbOnOKClicked", data, &MyDialog::OnOKClicked);
 *   }
 *   gboolean cbOnKeyPressed(GtkWidget*, GdkEventKey* event, gpointer data)
 *   {
 *       return callback::ForwardEvent<MyDialog>("cbOnKeyPressed", data, event,
 *           [](MyDialog& dialog, GdkEventKey& key) { return dialog.OnKeyPressed(key); });
 *   }
 *   } // namespace
 *   ...
 *   g_signal_connect(m_okButton, "clicked", G_CALLBACK(cbOnOKClicked), this);
 *
 * The member (or lambda) must be callable from the .cpp file, so the On...
 * members are public or the lambda is written inside a member's scope.
 * Connect with `this` of exactly the type the handler names in Forward<...>:
 * the pointer is cast back with static_cast, not dynamic_cast.
 * A handler runs on the GTK main thread only; the parked exception is a
 * single process-wide slot, matching the helper's one main loop.
 */
#ifndef XVTUI_BASE_CALLBACK_H
#define XVTUI_BASE_CALLBACK_H

#include <exception>
#include <functional>
#include <type_traits>

#include <glib.h>

namespace callback {

// Raises the error of a handler that got no dialog (or no event).
[[noreturn]] void ThrowBadArgs(const char* callbackName);

// Keeps `error` unless one is already parked, and ends the running loops
// (only those that run: outside gtk_main nothing is quit).
void Park(std::exception_ptr error) noexcept;
// True while an exception waits to be re-raised.
bool HasParked() noexcept;
// Removes the parked exception and returns it (null when none).
std::exception_ptr TakeParked() noexcept;
// Re-raises the parked exception, if any, and clears the slot.
void RethrowParked();

// Calls `call(*static_cast<Dialog*>(data))` behind the boundary described above.
// `call` is a pointer to member or any callable taking Dialog&.
template <class Dialog, class Fn>
auto Forward(const char* callbackName, gpointer data, Fn&& call) noexcept
    -> std::invoke_result_t<Fn, Dialog&>
{
    using Result = std::invoke_result_t<Fn, Dialog&>;
    try {
        if (data == nullptr)
            ThrowBadArgs(callbackName);
        return std::invoke(std::forward<Fn>(call), *static_cast<Dialog*>(data));
    } catch (...) {
        Park(std::current_exception());
    }
    if constexpr (!std::is_void_v<Result>)
        return Result{};
}

// As Forward, for handlers with an event: `call(Dialog&, Event&)`; a null
// event is the same error as null data.
template <class Dialog, class Event, class Fn>
auto ForwardEvent(const char* callbackName, gpointer data, Event* event, Fn&& call) noexcept
    -> std::invoke_result_t<Fn, Dialog&, Event&>
{
    using Result = std::invoke_result_t<Fn, Dialog&, Event&>;
    try {
        if (data == nullptr || event == nullptr)
            ThrowBadArgs(callbackName);
        return std::invoke(std::forward<Fn>(call), *static_cast<Dialog*>(data), *event);
    } catch (...) {
        Park(std::current_exception());
    }
    if constexpr (!std::is_void_v<Result>)
        return Result{};
}

} // namespace callback

#endif
