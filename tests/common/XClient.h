// XClient.h: drives another process's windows as a user would, through its own
// Xlib connection and XTest; every wait is on X events with a deadline, and a
// failure (no server, no XTEST) throws std::runtime_error.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

struct _XDisplay; // Xlib's Display; Xlib's macros (None, Bool, ...) stay out of tests
struct _XImage;

namespace testkit {

using XWindow = unsigned long; // Xlib's Window
inline constexpr XWindow kNoWindow = 0;

using Millis = std::chrono::milliseconds;

// How long a window must stay without damage to count as drawn. A helper
// run under valgrind (XVTUI_TEST_HELPER names the wrapper) pauses for far
// longer between an expose and its drawing.
Millis PaintQuiet();

// A rectangle in root-window coordinates.
struct Rect {
    int x = 0, y = 0, width = 0, height = 0;
};

class XClient {
public:
    // An empty name means the private Xvfb of this process (started if needed).
    explicit XClient(const std::string& display = {});
    ~XClient();
    XClient(const XClient&) = delete;
    XClient& operator=(const XClient&) = delete;

    _XDisplay* Dpy() const { return m_dpy; }

    // The first viewable top-level window whose _NET_WM_PID (GDK sets it) is
    // `pid`, or one `matches` accepts; kNoWindow when the deadline passes first.
    XWindow WaitForWindow(pid_t pid, Millis timeout);
    XWindow WaitForWindow(const std::function<bool(pid_t)>& matches, Millis timeout);

    // The first viewable override-redirect top-level window (a drop-down's
    // menu, a tooltip), waiting for one until the deadline; kNoWindow then.
    XWindow WaitForPopup(Millis timeout);
    // Waits until `window` is no longer viewable; false when the deadline passes first.
    bool WaitForUnmap(XWindow window, Millis timeout);

    // Gives `window` the keyboard focus as a window manager would.
    void Focus(XWindow window);
    // Types UTF-8 text; characters the keymap lacks (Cyrillic) go on spare
    // keycodes, letters of the keymap follow Caps Lock as a user's would.
    void TypeText(std::string_view utf8);
    // Presses and releases a key by keysym name ("Return", "Tab", "Caps_Lock").
    void PressKey(const std::string& keysymName);
    // The same key press and release as another X client can forge them:
    // XSendEvent to `window`, so the server marks them send_event.
    void ForgeKey(XWindow window, const std::string& keysymName);
    void ClickCenter(const Rect& rect);
    // Moves the pointer to (x, y) of the root window: one motion event.
    void MovePointer(int x, int y);
    // A window manager's close button: WM_PROTOCOLS / WM_DELETE_WINDOW.
    void SendDeleteWindow(XWindow window);
    bool CapsLockOn();

    Rect Geometry(XWindow window);
    // Viewable InputOnly descendants, sorted top to bottom, then left to right:
    // the event windows of buttons, check boxes and selectable labels, real X
    // windows only when the process runs with GDK_NATIVE_WINDOWS=1.
    std::vector<Rect> ButtonWindows(XWindow window);
    // Viewable InputOutput descendants without InputOutput children, larger
    // than a pixel, top to bottom: the items of a list, the text of a text
    // view (GDK_NATIVE_WINDOWS=1 again).
    std::vector<Rect> LeafWindows(XWindow window);
    // The lowest row of ButtonWindows (a dialog's action area), left to right.
    std::vector<Rect> BottomButtonRow(XWindow window);

    // Waits for damage to the window and then `quiet` without more; false
    // when `timeout` passes first.
    bool WaitForPaint(XWindow window, Millis timeout, Millis quiet = PaintQuiet());
    void Screenshot(XWindow window, const std::string& pngPath);
    // The pixel values of `area` of the window (window coordinates, cut to
    // the window), row by row: to compare what two windows show.
    std::vector<unsigned long> Pixels(XWindow window, Rect area);

    void Sync();

private:
    // Presses and releases the key of `keysym` (with Shift where the keymap has it so).
    void Tap(unsigned long keysym);
    // The pixels of `area` of the window; the caller destroys the image.
    _XImage* Image(XWindow window, const Rect& area);

    _XDisplay* m_dpy = nullptr;
    XWindow m_root = 0;
    unsigned long m_pidAtom = 0;
    std::map<unsigned long, unsigned char> m_remapped; // keysym -> spare keycode
    std::vector<unsigned char> m_spareKeycodes;
    size_t m_nextSpare = 0;
    int m_damageEvent = -1;
};

} // namespace testkit
