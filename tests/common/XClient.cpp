// XClient.cpp: window lookup, XTest input and screenshots for tests.
#include "common/XClient.h"

#include "common/Xvfb.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xdamage.h>
#include <gdk-pixbuf/gdk-pixbuf.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <poll.h>
#include <stdexcept>

namespace testkit {
namespace {

using Clock = std::chrono::steady_clock;

// Windows of other clients can vanish between two requests; such errors are
// expected and must not reach the default handler, which exits the process.
// The trap swaps the handler only for the requests inside it, so a GDK
// connection of the same process keeps its own handler.
int IgnoreXError(::Display*, XErrorEvent*)
{
    return 0;
}

class ErrorTrap {
public:
    explicit ErrorTrap(::Display* dpy) : m_dpy(dpy)
    {
        XSync(m_dpy, False);
        m_previous = XSetErrorHandler(IgnoreXError);
    }
    ~ErrorTrap()
    {
        XSync(m_dpy, False);
        XSetErrorHandler(m_previous);
    }
    ErrorTrap(const ErrorTrap&) = delete;
    ErrorTrap& operator=(const ErrorTrap&) = delete;

private:
    ::Display* m_dpy;
    XErrorHandler m_previous;
};

// Waits for input on the connection until `deadline`; false when it passed.
bool WaitReadable(::Display* dpy, Clock::time_point deadline)
{
    for (;;) {
        if (XPending(dpy) > 0)
            return true;
        const auto left = std::chrono::duration_cast<Millis>(deadline - Clock::now()).count();
        if (left <= 0)
            return false;
        pollfd pfd{ConnectionNumber(dpy), POLLIN, 0};
        const int ready = poll(&pfd, 1, static_cast<int>(left));
        if (ready < 0 && errno != EINTR)
            throw std::runtime_error("XClient: poll on the X connection failed");
    }
}

// Decodes one UTF-8 sequence; returns the code point or -1 for a bad byte.
long NextCodePoint(std::string_view text, size_t& pos)
{
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(pos);
    int extra = 0;
    long cp = 0;
    if (lead < 0x80) {
        cp = lead;
    } else if ((lead & 0xE0) == 0xC0) {
        extra = 1;
        cp = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        extra = 2;
        cp = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        extra = 3;
        cp = lead & 0x07;
    } else {
        ++pos;
        return -1;
    }
    ++pos;
    for (int i = 0; i < extra; ++i, ++pos) {
        if (pos >= text.size() || (byte(pos) & 0xC0) != 0x80)
            return -1;
        cp = (cp << 6) | (byte(pos) & 0x3F);
    }
    return cp;
}

unsigned long KeysymForCodePoint(long cp)
{
    if (cp == '\n' || cp == '\r')
        return XK_Return;
    if (cp == '\t')
        return XK_Tab;
    if ((cp >= 0x20 && cp <= 0x7E) || (cp >= 0xA0 && cp <= 0xFF))
        return static_cast<unsigned long>(cp);
    return 0x01000000UL | static_cast<unsigned long>(cp);
}

int MaskShift(unsigned long mask)
{
    int shift = 0;
    while (mask != 0 && (mask & 1) == 0) {
        mask >>= 1;
        ++shift;
    }
    return shift;
}

} // namespace

template <typename Done>
bool XClient::PumpUntil(Millis timeout, Done done)
{
    const auto deadline = Clock::now() + timeout;
    if (done(nullptr))
        return true;
    while (WaitReadable(m_dpy, deadline)) {
        XEvent event;
        XNextEvent(m_dpy, &event);
        if (done(&event))
            return true;
    }
    return done(nullptr);
}

XClient::XClient(const std::string& display)
{
    const std::string name = display.empty() ? PrivateDisplay() : display;
    m_dpy = XOpenDisplay(name.c_str());
    if (m_dpy == nullptr)
        throw std::runtime_error("XClient: cannot open display " + name);
    int event = 0, error = 0, major = 0, minor = 0;
    if (!XTestQueryExtension(m_dpy, &event, &error, &major, &minor)) {
        XCloseDisplay(m_dpy);
        throw std::runtime_error("XClient: the server has no XTEST extension");
    }
    int damageError = 0;
    if (!XDamageQueryExtension(m_dpy, &m_damageEvent, &damageError))
        m_damageEvent = -1;
    m_root = DefaultRootWindow(m_dpy);
    m_pidAtom = XInternAtom(m_dpy, "_NET_WM_PID", False);
    XSelectInput(m_dpy, m_root, SubstructureNotifyMask);

    int minCode = 0, maxCode = 0, perCode = 0;
    XDisplayKeycodes(m_dpy, &minCode, &maxCode);
    KeySym* map = XGetKeyboardMapping(m_dpy, static_cast<KeyCode>(minCode), maxCode - minCode + 1,
                                      &perCode);
    for (int code = minCode; map != nullptr && code <= maxCode; ++code) {
        const KeySym* syms = map + (code - minCode) * perCode;
        if (std::all_of(syms, syms + perCode, [](KeySym s) { return s == NoSymbol; }))
            m_spareKeycodes.push_back(static_cast<KeyCode>(code));
    }
    if (map != nullptr)
        XFree(map);
    XSync(m_dpy, False);
}

XClient::~XClient()
{
    if (m_dpy != nullptr)
        XCloseDisplay(m_dpy);
}

void XClient::Sync()
{
    XSync(m_dpy, False);
}

std::vector<Window> XClient::WindowsOf(pid_t pid)
{
    return WindowsOf([pid](pid_t owner) { return owner == pid; });
}

std::vector<Window> XClient::WindowsOf(const std::function<bool(pid_t)>& matches)
{
    std::vector<Window> found;
    ErrorTrap trap(m_dpy);
    Window rootReturn = 0, parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(m_dpy, m_root, &rootReturn, &parent, &children, &count))
        return found;
    for (unsigned i = 0; i < count; ++i) {
        XWindowAttributes attrs;
        if (!XGetWindowAttributes(m_dpy, children[i], &attrs) || attrs.map_state != IsViewable)
            continue;
        Atom type = None;
        int format = 0;
        unsigned long items = 0, after = 0;
        unsigned char* data = nullptr;
        if (XGetWindowProperty(m_dpy, children[i], m_pidAtom, 0, 1, False, XA_CARDINAL, &type,
                               &format, &items, &after, &data) == Success &&
            data != nullptr) {
            if (type == XA_CARDINAL && format == 32 && items == 1 &&
                matches(static_cast<pid_t>(*reinterpret_cast<unsigned long*>(data))))
                found.push_back(children[i]);
            XFree(data);
        }
    }
    if (children != nullptr)
        XFree(children);
    return found;
}

Window XClient::WaitForWindow(pid_t pid, Millis timeout, const std::string& title)
{
    return WaitForWindow([pid](pid_t owner) { return owner == pid; }, timeout, title);
}

Window XClient::WaitForWindow(const std::function<bool(pid_t)>& matches, Millis timeout,
                              const std::string& title)
{
    Window result = None;
    PumpUntil(timeout, [&](const XEvent* event) {
        if (event != nullptr && event->type != MapNotify)
            return false;
        for (Window w : WindowsOf(matches)) {
            if (title.empty() || Title(w) == title) {
                result = w;
                return true;
            }
        }
        return false;
    });
    return result;
}

bool XClient::WaitForWindowGone(Window window, Millis timeout)
{
    return PumpUntil(timeout, [&](const XEvent* event) {
        if (event != nullptr && event->type != UnmapNotify && event->type != DestroyNotify)
            return false;
        ErrorTrap trap(m_dpy);
        XWindowAttributes attrs;
        return !XGetWindowAttributes(m_dpy, window, &attrs) || attrs.map_state != IsViewable;
    });
}

void XClient::Focus(Window window)
{
    {
        ErrorTrap trap(m_dpy);
        XRaiseWindow(m_dpy, window);
        XSetInputFocus(m_dpy, window, RevertToPointerRoot, CurrentTime);
    }
    Window focus = None;
    int revert = 0;
    XGetInputFocus(m_dpy, &focus, &revert);
    if (focus != window)
        throw std::runtime_error("XClient: the window did not take the input focus");
}

KeyCode XClient::KeycodeFor(unsigned long keysym, bool& needShift)
{
    needShift = false;
    const auto known = m_remapped.find(keysym);
    if (known != m_remapped.end())
        return known->second;
    const KeyCode code = XKeysymToKeycode(m_dpy, keysym);
    if (code != 0) {
        if (XkbKeycodeToKeysym(m_dpy, code, 0, 0) == keysym)
            return code;
        if (XkbKeycodeToKeysym(m_dpy, code, 0, 1) == keysym) {
            needShift = true;
            return code;
        }
    }
    if (m_spareKeycodes.empty())
        throw std::runtime_error("XClient: no spare keycode for a character the keymap lacks");
    // Put the keysym on both levels of a spare keycode so that no modifier
    // (Shift or Caps Lock) changes what it types.
    const KeyCode spare = m_spareKeycodes[m_nextSpare];
    m_nextSpare = (m_nextSpare + 1) % m_spareKeycodes.size();
    std::erase_if(m_remapped, [&](const auto& entry) { return entry.second == spare; });
    KeySym syms[2] = {keysym, keysym};
    XChangeKeyboardMapping(m_dpy, spare, 2, syms, 1);
    XSync(m_dpy, False);
    m_remapped[keysym] = spare;
    return spare;
}

void XClient::SendKey(KeyCode code, bool press)
{
    XTestFakeKeyEvent(m_dpy, code, press ? True : False, CurrentTime);
    XFlush(m_dpy);
}

void XClient::TypeText(std::string_view utf8)
{
    const KeyCode shift = XKeysymToKeycode(m_dpy, XK_Shift_L);
    for (size_t pos = 0; pos < utf8.size();) {
        const long cp = NextCodePoint(utf8, pos);
        if (cp < 0)
            throw std::runtime_error("XClient: TypeText was given malformed UTF-8");
        bool needShift = false;
        const KeyCode code = KeycodeFor(KeysymForCodePoint(cp), needShift);
        if (needShift)
            SendKey(shift, true);
        SendKey(code, true);
        SendKey(code, false);
        if (needShift)
            SendKey(shift, false);
    }
    XSync(m_dpy, False);
}

void XClient::PressKey(const std::string& keysymName, const std::vector<std::string>& modifiers)
{
    const auto codeOf = [&](const std::string& name) {
        const KeySym sym = XStringToKeysym(name.c_str());
        if (sym == NoSymbol)
            throw std::runtime_error("XClient: unknown keysym " + name);
        bool needShift = false;
        return KeycodeFor(sym, needShift);
    };
    std::vector<KeyCode> held;
    for (const auto& modifier : modifiers)
        held.push_back(codeOf(modifier));
    const KeyCode code = codeOf(keysymName);
    for (KeyCode m : held)
        SendKey(m, true);
    SendKey(code, true);
    SendKey(code, false);
    for (auto it = held.rbegin(); it != held.rend(); ++it)
        SendKey(*it, false);
    XSync(m_dpy, False);
}

void XClient::Click(int x, int y, unsigned button)
{
    XTestFakeMotionEvent(m_dpy, -1, x, y, CurrentTime);
    XTestFakeButtonEvent(m_dpy, button, True, CurrentTime);
    XTestFakeButtonEvent(m_dpy, button, False, CurrentTime);
    XSync(m_dpy, False);
}

void XClient::SendDeleteWindow(Window window)
{
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(m_dpy, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(m_dpy, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    ErrorTrap trap(m_dpy);
    XSendEvent(m_dpy, window, False, NoEventMask, &event);
}

bool XClient::CapsLockOn()
{
    XkbStateRec state{};
    if (XkbGetState(m_dpy, XkbUseCoreKbd, &state) != Success)
        throw std::runtime_error("XClient: XkbGetState failed");
    return (state.locked_mods & LockMask) != 0;
}

Rect XClient::Geometry(Window window)
{
    ErrorTrap trap(m_dpy);
    XWindowAttributes attrs{};
    if (!XGetWindowAttributes(m_dpy, window, &attrs))
        throw std::runtime_error("XClient: the window is gone");
    int x = 0, y = 0;
    Window child = 0;
    XTranslateCoordinates(m_dpy, window, m_root, 0, 0, &x, &y, &child);
    return Rect{x, y, attrs.width, attrs.height};
}

std::string XClient::Title(Window window)
{
    ErrorTrap trap(m_dpy);
    Atom type = None;
    int format = 0;
    unsigned long items = 0, after = 0;
    unsigned char* data = nullptr;
    std::string title;
    const Atom netName = XInternAtom(m_dpy, "_NET_WM_NAME", False);
    const Atom utf8 = XInternAtom(m_dpy, "UTF8_STRING", False);
    if (XGetWindowProperty(m_dpy, window, netName, 0, 1024, False, utf8, &type, &format, &items,
                           &after, &data) == Success &&
        data != nullptr) {
        title.assign(reinterpret_cast<const char*>(data), items);
        XFree(data);
        return title;
    }
    char* name = nullptr;
    if (XFetchName(m_dpy, window, &name) && name != nullptr) {
        title = name;
        XFree(name);
    }
    return title;
}

std::vector<Rect> XClient::ButtonWindows(Window window)
{
    std::vector<Rect> found;
    ErrorTrap trap(m_dpy);
    std::function<void(Window)> walk = [&](Window parentWindow) {
        Window rootReturn = 0, parent = 0;
        Window* children = nullptr;
        unsigned count = 0;
        if (!XQueryTree(m_dpy, parentWindow, &rootReturn, &parent, &children, &count))
            return;
        for (unsigned i = 0; i < count; ++i) {
            XWindowAttributes attrs;
            if (!XGetWindowAttributes(m_dpy, children[i], &attrs) || attrs.map_state != IsViewable)
                continue;
            if (attrs.c_class == InputOnly) {
                int x = 0, y = 0;
                Window child = 0;
                XTranslateCoordinates(m_dpy, children[i], m_root, 0, 0, &x, &y, &child);
                found.push_back(Rect{x, y, attrs.width, attrs.height});
            } else {
                walk(children[i]);
            }
        }
        if (children != nullptr)
            XFree(children);
    };
    walk(window);
    std::sort(found.begin(), found.end(), [](const Rect& a, const Rect& b) {
        return a.y != b.y ? a.y < b.y : a.x < b.x;
    });
    return found;
}

std::vector<Rect> XClient::BottomButtonRow(Window window)
{
    std::vector<Rect> all = ButtonWindows(window);
    if (all.empty())
        return all;
    const int lowest = std::max_element(all.begin(), all.end(), [](const Rect& a, const Rect& b) {
                           return a.CenterY() < b.CenterY();
                       })->CenterY();
    std::vector<Rect> row;
    for (const Rect& r : all) {
        if (lowest - r.CenterY() <= r.height / 2)
            row.push_back(r);
    }
    std::sort(row.begin(), row.end(), [](const Rect& a, const Rect& b) { return a.x < b.x; });
    return row;
}

bool XClient::WaitForPaint(Window window, Millis timeout, Millis quiet)
{
    if (m_damageEvent < 0)
        throw std::runtime_error("XClient: the server has no DAMAGE extension");
    const Damage damage = XDamageCreate(m_dpy, window, XDamageReportNonEmpty);
    // Ask the owner to draw the window again, so that an already drawn window
    // reports damage too.
    {
        ErrorTrap trap(m_dpy);
        XClearArea(m_dpy, window, 0, 0, 0, 0, True);
    }
    const auto deadline = Clock::now() + timeout;
    bool damaged = false;
    bool settled = false;
    while (!settled) {
        const auto now = Clock::now();
        if (now >= deadline)
            break;
        const auto wait = damaged ? std::min<Clock::duration>(quiet, deadline - now) : deadline - now;
        if (!WaitReadable(m_dpy, now + wait)) {
            settled = damaged;
            if (!damaged)
                break;
            continue;
        }
        XEvent event;
        XNextEvent(m_dpy, &event);
        if (event.type == m_damageEvent + XDamageNotify) {
            damaged = true;
            XDamageSubtract(m_dpy, damage, None, None);
        }
    }
    {
        ErrorTrap trap(m_dpy);
        XDamageDestroy(m_dpy, damage);
    }
    return settled;
}

void XClient::Screenshot(Window window, const std::string& pngPath)
{
    const Rect geometry = Geometry(window);
    XImage* image = nullptr;
    {
        ErrorTrap trap(m_dpy);
        image = XGetImage(m_dpy, window, 0, 0, static_cast<unsigned>(geometry.width),
                          static_cast<unsigned>(geometry.height), AllPlanes, ZPixmap);
    }
    if (image == nullptr)
        throw std::runtime_error("XClient: cannot read the window's image");
    GdkPixbuf* pixbuf =
        gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, geometry.width, geometry.height);
    const int rowStride = gdk_pixbuf_get_rowstride(pixbuf);
    guchar* pixels = gdk_pixbuf_get_pixels(pixbuf);
    const int shifts[3] = {MaskShift(image->red_mask), MaskShift(image->green_mask),
                           MaskShift(image->blue_mask)};
    const unsigned long masks[3] = {image->red_mask, image->green_mask, image->blue_mask};
    for (int y = 0; y < geometry.height; ++y) {
        for (int x = 0; x < geometry.width; ++x) {
            const unsigned long pixel = XGetPixel(image, x, y);
            guchar* out = pixels + y * rowStride + x * 3;
            for (int c = 0; c < 3; ++c) {
                const unsigned long max = masks[c] >> shifts[c];
                const unsigned long value = (pixel & masks[c]) >> shifts[c];
                out[c] = static_cast<guchar>(max == 0 ? 0 : value * 255 / max);
            }
        }
    }
    XDestroyImage(image);
    GError* error = nullptr;
    const gboolean saved = gdk_pixbuf_save(pixbuf, pngPath.c_str(), "png", &error, nullptr);
    g_object_unref(pixbuf);
    if (!saved) {
        std::string reason = error != nullptr ? error->message : "unknown error";
        if (error != nullptr)
            g_error_free(error);
        throw std::runtime_error("XClient: cannot save " + pngPath + ": " + reason);
    }
}

} // namespace testkit
