// XClient.h: drives another process's windows on an X server, as a user would.
//
// A separate Xlib connection that finds a process's top-level window by its
// _NET_WM_PID, gives it the input focus the way a window manager would, and
// sends real keyboard and pointer input through XTest. Every wait is on X
// events with a deadline; nothing sleeps for a fixed time. Failures (no
// server, a deadline passed) throw std::runtime_error.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

struct _XDisplay; // Xlib's Display; Xlib's macros (None, Bool, ...) stay out of tests

namespace testkit {

// An X window id (Xlib's Window); 0 is no window.
using XWindow = unsigned long;
inline constexpr XWindow kNoWindow = 0;

using Millis = std::chrono::milliseconds;

// A rectangle in root-window coordinates.
struct Rect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    int CenterX() const { return x + width / 2; }
    int CenterY() const { return y + height / 2; }
};

class XClient {
public:
    // Connects to `display`; an empty name means the private Xvfb of this
    // process (started if needed).
    explicit XClient(const std::string& display = {});
    ~XClient();
    XClient(const XClient&) = delete;
    XClient& operator=(const XClient&) = delete;

    _XDisplay* Dpy() const { return m_dpy; }

    // Waits until a viewable top-level window of process `pid` exists (its
    // _NET_WM_PID, which GDK sets on every top-level, equals pid) and returns
    // it. With a non-empty `title`, only a window of that title counts.
    // Returns kNoWindow when the deadline passes first.
    XWindow WaitForWindow(pid_t pid, Millis timeout, const std::string& title = {});
    // As above, for the first process whose id `matches` accepts.
    XWindow WaitForWindow(const std::function<bool(pid_t)>& matches, Millis timeout,
                          const std::string& title = {});
    // The viewable top-level windows of `pid`, in stacking order (bottom first).
    std::vector<XWindow> WindowsOf(pid_t pid);
    std::vector<XWindow> WindowsOf(const std::function<bool(pid_t)>& matches);
    // Waits until `window` is unmapped or destroyed; false on time-out.
    bool WaitForWindowGone(XWindow window, Millis timeout);

    // Gives `window` the keyboard focus as a window manager would and waits
    // until the server has done it.
    void Focus(XWindow window);
    // Types UTF-8 text through XTest. Characters the keymap lacks (Cyrillic,
    // for one) are put on spare keycodes first, on both levels, so Shift and
    // Caps Lock do not change them; letters of the keymap follow Caps Lock as
    // they would for a user.
    void TypeText(std::string_view utf8);
    // Presses and releases a key by keysym name ("Return", "Escape", "Tab",
    // "space", "Caps_Lock", "a"), holding the named modifier keysyms
    // (e.g. {"Shift_L"}) meanwhile.
    void PressKey(const std::string& keysymName, const std::vector<std::string>& modifiers = {});
    // Moves the pointer to (x, y) in root coordinates and clicks `button`.
    void Click(int x, int y, unsigned button = 1);
    void ClickCenter(const Rect& rect) { Click(rect.CenterX(), rect.CenterY()); }
    // Asks the window to close as a window manager's close button does
    // (a WM_PROTOCOLS / WM_DELETE_WINDOW client message).
    void SendDeleteWindow(XWindow window);
    // The locked Caps Lock state of the core keyboard (XKB).
    bool CapsLockOn();

    // Window properties.
    Rect Geometry(XWindow window);
    std::string Title(XWindow window);
    // Viewable InputOnly descendants of `window`: each GtkButton (also check
    // and radio buttons, and selectable labels) has one as its event window.
    // GDK makes them real X windows only when the process runs with
    // GDK_NATIVE_WINDOWS=1 (otherwise they exist inside GDK alone), so tests
    // start the dialog with that variable set. Sorted top to bottom, then
    // left to right.
    std::vector<Rect> ButtonWindows(XWindow window);
    // The lowest row of ButtonWindows (a dialog's action area), left to right.
    std::vector<Rect> BottomButtonRow(XWindow window);

    // Waits until the window has been drawn and its drawing has settled: at
    // least one damage report, then `quiet` without further damage. Returns
    // false when `timeout` passes first.
    bool WaitForPaint(XWindow window, Millis timeout, Millis quiet = Millis(150));
    // Saves the window's current contents as a PNG file.
    void Screenshot(XWindow window, const std::string& pngPath);

    // Flushes requests and waits for the server to process them.
    void Sync();

private:
    unsigned char KeycodeFor(unsigned long keysym, bool& needShift);
    void SendKey(unsigned char code, bool press);
    // Processes events until `done` holds or the deadline passes.
    template <typename Done>
    bool PumpUntil(Millis timeout, Done done);

    _XDisplay* m_dpy = nullptr;
    XWindow m_root = 0;
    unsigned long m_pidAtom = 0;
    std::map<unsigned long, unsigned char> m_remapped; // keysym -> spare keycode
    std::vector<unsigned char> m_spareKeycodes;
    size_t m_nextSpare = 0;
    int m_damageEvent = -1;
};

} // namespace testkit
