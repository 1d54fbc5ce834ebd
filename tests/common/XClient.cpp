// XClient.cpp: window lookup, XTest input and screenshots for tests.
#include "common/XClient.h"

#include "common/Xvfb.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xdamage.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gdk/gdk.h>

#include <algorithm>
#include <iterator>
#include <cerrno>
#include <cstdlib>
#include <poll.h>
#include <stdexcept>

namespace testkit {
namespace {

using Clock = std::chrono::steady_clock;

std::runtime_error Error(const std::string& what)
{
    return std::runtime_error("XClient: " + what);
}

// Other clients' windows can vanish between two requests and the default
// handler would exit; swapped only around such requests, so GDK keeps its own.
struct ErrorTrap {
    explicit ErrorTrap(::Display* display) : dpy(display)
    {
        XSync(dpy, False);
        previous = XSetErrorHandler([](::Display*, XErrorEvent*) { return 0; });
    }
    ~ErrorTrap() { XSync(dpy, False); XSetErrorHandler(previous); }
    ErrorTrap(const ErrorTrap&) = delete;
    ErrorTrap& operator=(const ErrorTrap&) = delete;

    ::Display* dpy;
    XErrorHandler previous = nullptr;
};

// Waits for an event on the connection until `deadline`; false when it passed.
bool WaitReadable(::Display* dpy, Clock::time_point deadline)
{
    while (XPending(dpy) == 0) {
        const auto left = std::chrono::duration_cast<Millis>(deadline - Clock::now()).count();
        if (left <= 0)
            return false;
        pollfd pfd{ConnectionNumber(dpy), POLLIN, 0};
        if (poll(&pfd, 1, static_cast<int>(left)) < 0 && errno != EINTR)
            throw Error("poll on the X connection failed");
    }
    return true;
}

// Asks `look` (under an error trap) until it says yes, again after each event
// of one of `types`; false when the deadline passes first.
bool LookUntil(::Display* dpy, Clock::time_point deadline, std::initializer_list<int> types,
               const std::function<bool()>& look)
{
    for (;;) {
        {
            ErrorTrap trap(dpy);
            if (look())
                return true;
        }
        XEvent event;
        do {
            if (!WaitReadable(dpy, deadline))
                return false;
            XNextEvent(dpy, &event);
        } while (std::ranges::find(types, event.type) == types.end());
    }
}

bool Viewable(::Display* dpy, Window window, XWindowAttributes& attrs)
{
    return XGetWindowAttributes(dpy, window, &attrs) && attrs.map_state == IsViewable;
}

std::vector<Window> Children(::Display* dpy, Window window)
{
    Window root = 0, parent = 0, *children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(dpy, window, &root, &parent, &children, &count))
        return {};
    std::vector<Window> result(children, children + count);
    if (children != nullptr)
        XFree(children);
    return result;
}

Rect RootRect(::Display* dpy, Window window, const XWindowAttributes& attrs)
{
    Rect rect{0, 0, attrs.width, attrs.height};
    Window child = 0;
    XTranslateCoordinates(dpy, window, attrs.root, 0, 0, &rect.x, &rect.y, &child);
    return rect;
}

// The viewable windows below `window` that `take` accepts, top to bottom,
// then left to right; the search goes on below every InputOutput window.
std::vector<Rect> Descendants(::Display* dpy, Window window,
                              const std::function<bool(Window, const XWindowAttributes&)>& take)
{
    std::vector<Rect> found;
    ErrorTrap trap(dpy);
    std::vector<Window> pending = Children(dpy, window);
    while (!pending.empty()) {
        const Window w = pending.back();
        pending.pop_back();
        XWindowAttributes attrs;
        if (!Viewable(dpy, w, attrs))
            continue;
        if (take(w, attrs))
            found.push_back(RootRect(dpy, w, attrs));
        if (attrs.c_class != InputOnly)
            std::ranges::copy(Children(dpy, w), std::back_inserter(pending));
    }
    std::ranges::sort(found, {}, [](const Rect& r) { return std::pair(r.y, r.x); });
    return found;
}

} // namespace

XClient::XClient(const std::string& display)
{
    const std::string name = display.empty() ? PrivateDisplay() : display;
    m_dpy = XOpenDisplay(name.c_str());
    if (m_dpy == nullptr)
        throw Error("cannot open display " + name);
    int event = 0, error = 0, major = 0, minor = 0;
    if (!XTestQueryExtension(m_dpy, &event, &error, &major, &minor)) {
        XCloseDisplay(m_dpy);
        throw Error("the server has no XTEST extension");
    }
    if (!XDamageQueryExtension(m_dpy, &m_damageEvent, &error))
        m_damageEvent = -1;
    m_root = DefaultRootWindow(m_dpy);
    m_pidAtom = XInternAtom(m_dpy, "_NET_WM_PID", False);
    XSelectInput(m_dpy, m_root, SubstructureNotifyMask);

    int minCode = 0, maxCode = 0, perCode = 0;
    XDisplayKeycodes(m_dpy, &minCode, &maxCode);
    KeySym* map = XGetKeyboardMapping(m_dpy, static_cast<KeyCode>(minCode), maxCode - minCode + 1, &perCode);
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
    XCloseDisplay(m_dpy);
}

void XClient::Sync()
{
    XSync(m_dpy, False);
}

Window XClient::WaitForWindow(pid_t pid, Millis timeout)
{
    return WaitForWindow([pid](pid_t owner) { return owner == pid; }, timeout);
}

Window XClient::WaitForWindow(const std::function<bool(pid_t)>& matches, Millis timeout)
{
    Window found = kNoWindow;
    LookUntil(m_dpy, Clock::now() + timeout, {MapNotify}, [&] {
        for (Window w : Children(m_dpy, m_root)) {
            XWindowAttributes attrs;
            Atom type = None;
            int format = 0;
            unsigned long items = 0, after = 0;
            unsigned char* data = nullptr;
            if (!Viewable(m_dpy, w, attrs) ||
                XGetWindowProperty(m_dpy, w, m_pidAtom, 0, 1, False, XA_CARDINAL, &type, &format, &items, &after,
                                   &data) != Success || data == nullptr)
                continue;
            const bool owned =
                format == 32 && items == 1 && matches(static_cast<pid_t>(*reinterpret_cast<unsigned long*>(data)));
            XFree(data);
            if (owned) {
                found = w;
                return true;
            }
        }
        return false;
    });
    return found;
}

Window XClient::WaitForPopup(Millis timeout)
{
    Window found = kNoWindow;
    LookUntil(m_dpy, Clock::now() + timeout, {MapNotify}, [&] {
        for (Window w : Children(m_dpy, m_root)) {
            XWindowAttributes attrs;
            if (Viewable(m_dpy, w, attrs) && attrs.override_redirect && attrs.c_class == InputOutput) {
                found = w;
                return true;
            }
        }
        return false;
    });
    return found;
}

bool XClient::WaitForUnmap(Window window, Millis timeout)
{
    {
        ErrorTrap trap(m_dpy);
        XSelectInput(m_dpy, window, StructureNotifyMask);
    }
    return LookUntil(m_dpy, Clock::now() + timeout, {UnmapNotify, DestroyNotify}, [&] {
        XWindowAttributes attrs;
        return !Viewable(m_dpy, window, attrs);
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
        throw Error("the window did not take the input focus");
}

void XClient::Tap(unsigned long keysym)
{
    bool shift = false;
    KeyCode code = 0;
    if (const auto known = m_remapped.find(keysym); known != m_remapped.end()) {
        code = known->second;
    } else if ((code = XKeysymToKeycode(m_dpy, keysym)) != 0 && XkbKeycodeToKeysym(m_dpy, code, 0, 0) != keysym) {
        shift = XkbKeycodeToKeysym(m_dpy, code, 0, 1) == keysym;
        code = shift ? code : 0;
    }
    if (code == 0) {
        // On both levels of a spare keycode, so that no modifier changes it.
        if (m_spareKeycodes.empty())
            throw Error("no spare keycode for a character the keymap lacks");
        code = m_spareKeycodes[m_nextSpare++ % m_spareKeycodes.size()];
        std::erase_if(m_remapped, [&](const auto& entry) { return entry.second == code; });
        KeySym syms[2] = {keysym, keysym};
        XChangeKeyboardMapping(m_dpy, code, 2, syms, 1);
        XSync(m_dpy, False);
        m_remapped[keysym] = code;
    }
    const KeyCode shiftCode = XKeysymToKeycode(m_dpy, XK_Shift_L);
    if (shift)
        XTestFakeKeyEvent(m_dpy, shiftCode, True, CurrentTime);
    XTestFakeKeyEvent(m_dpy, code, True, CurrentTime);
    XTestFakeKeyEvent(m_dpy, code, False, CurrentTime);
    if (shift)
        XTestFakeKeyEvent(m_dpy, shiftCode, False, CurrentTime);
}

void XClient::TypeText(std::string_view utf8)
{
    for (const char *p = utf8.data(), *end = p + utf8.size(); p < end; p = g_utf8_next_char(p)) {
        const gunichar c = g_utf8_get_char_validated(p, end - p);
        if (c > 0x10FFFF)
            throw Error("TypeText was given malformed UTF-8");
        Tap(gdk_unicode_to_keyval(c));
    }
    XSync(m_dpy, False);
}

void XClient::PressKey(const std::string& keysymName)
{
    const KeySym sym = XStringToKeysym(keysymName.c_str());
    if (sym == NoSymbol)
        throw Error("unknown keysym " + keysymName);
    Tap(sym);
    XSync(m_dpy, False);
}

void XClient::ForgeKey(Window window, const std::string& keysymName)
{
    const KeySym sym = XStringToKeysym(keysymName.c_str());
    const KeyCode code = sym != NoSymbol ? XKeysymToKeycode(m_dpy, sym) : 0;
    if (code == 0)
        throw Error("no key for keysym " + keysymName);
    XEvent event{};
    XKeyEvent& key = event.xkey;
    key.display = m_dpy;
    key.window = window;
    key.root = m_root;
    key.subwindow = None;
    key.time = CurrentTime;
    key.x = key.y = key.x_root = key.y_root = 1;
    key.keycode = code;
    key.same_screen = True;
    ErrorTrap trap(m_dpy);
    for (const int type : {KeyPress, KeyRelease}) {
        key.type = type;
        XSendEvent(m_dpy, window, True, type == KeyPress ? KeyPressMask : KeyReleaseMask, &event);
    }
    XSync(m_dpy, False);
}

void XClient::ClickCenter(const Rect& rect)
{
    XTestFakeMotionEvent(m_dpy, -1, rect.x + rect.width / 2, rect.y + rect.height / 2, CurrentTime);
    XTestFakeButtonEvent(m_dpy, 1, True, CurrentTime);
    XTestFakeButtonEvent(m_dpy, 1, False, CurrentTime);
    XSync(m_dpy, False);
}

void XClient::MovePointer(int x, int y)
{
    XTestFakeMotionEvent(m_dpy, -1, x, y, CurrentTime);
    XFlush(m_dpy);
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
        throw Error("XkbGetState failed");
    return (state.locked_mods & LockMask) != 0;
}

Rect XClient::Geometry(Window window)
{
    ErrorTrap trap(m_dpy);
    XWindowAttributes attrs{};
    if (!XGetWindowAttributes(m_dpy, window, &attrs))
        throw Error("the window is gone");
    return RootRect(m_dpy, window, attrs);
}

std::vector<Rect> XClient::ButtonWindows(Window window)
{
    return Descendants(m_dpy, window, [](Window, const XWindowAttributes& attrs) { return attrs.c_class == InputOnly; });
}

std::vector<Rect> XClient::LeafWindows(Window window)
{
    return Descendants(m_dpy, window, [this](Window w, const XWindowAttributes& attrs) {
        return attrs.c_class != InputOnly && attrs.width > 1 && attrs.height > 1 &&
               std::ranges::none_of(Children(m_dpy, w), [this](Window child) {
                   XWindowAttributes childAttrs;
                   return Viewable(m_dpy, child, childAttrs) && childAttrs.c_class != InputOnly;
               });
    });
}

std::vector<Rect> XClient::BottomButtonRow(Window window)
{
    const auto centerY = [](const Rect& r) { return r.y + r.height / 2; };
    std::vector<Rect> row = ButtonWindows(window);
    int lowest = 0;
    for (const Rect& r : row)
        lowest = std::max(lowest, centerY(r));
    std::erase_if(row, [&](const Rect& r) { return lowest - centerY(r) > r.height / 2; });
    std::sort(row.begin(), row.end(), [](const Rect& a, const Rect& b) { return a.x < b.x; });
    return row;
}

Millis PaintQuiet()
{
    const char* wrapper = std::getenv("XVTUI_TEST_HELPER");
    return wrapper != nullptr && *wrapper != '\0' ? Millis(600) : Millis(150);
}

bool XClient::WaitForPaint(Window window, Millis timeout, Millis quiet)
{
    if (m_damageEvent < 0)
        throw Error("the server has no DAMAGE extension");
    const Damage damage = XDamageCreate(m_dpy, window, XDamageReportNonEmpty);
    {
        // Exposed again, so an already drawn window reports damage too.
        ErrorTrap trap(m_dpy);
        XClearArea(m_dpy, window, 0, 0, 0, 0, True);
    }
    const auto deadline = Clock::now() + timeout;
    bool damaged = false;
    bool settled = false;
    while (Clock::now() < deadline) {
        if (!WaitReadable(m_dpy, damaged ? std::min(deadline, Clock::now() + quiet) : deadline)) {
            settled = damaged; // quiet for long enough after damage
            break;
        }
        XEvent event;
        XNextEvent(m_dpy, &event);
        if (event.type == m_damageEvent + XDamageNotify) {
            damaged = true;
            XDamageSubtract(m_dpy, damage, None, None);
        }
    }
    ErrorTrap trap(m_dpy);
    XDamageDestroy(m_dpy, damage);
    return settled;
}

XImage* XClient::Image(Window window, const Rect& area)
{
    XImage* image = nullptr;
    {
        ErrorTrap trap(m_dpy);
        image = XGetImage(m_dpy, window, area.x, area.y, static_cast<unsigned>(area.width),
                          static_cast<unsigned>(area.height), AllPlanes, ZPixmap);
    }
    if (image == nullptr)
        throw Error("cannot read the window's image");
    return image;
}

std::vector<unsigned long> XClient::Pixels(Window window, Rect area)
{
    const Rect size = Geometry(window);
    area.width = std::min(area.width, size.width - area.x);
    area.height = std::min(area.height, size.height - area.y);
    XImage* image = Image(window, area);
    std::vector<unsigned long> pixels;
    pixels.reserve(static_cast<size_t>(area.width) * static_cast<size_t>(area.height));
    for (int y = 0; y < area.height; ++y)
        for (int x = 0; x < area.width; ++x)
            pixels.push_back(XGetPixel(image, x, y));
    XDestroyImage(image);
    return pixels;
}

void XClient::Screenshot(Window window, const std::string& pngPath)
{
    const Rect size = Geometry(window);
    XImage* image = Image(window, {0, 0, size.width, size.height});
    GdkPixbuf* pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, size.width, size.height);
    const unsigned long masks[3] = {image->red_mask, image->green_mask, image->blue_mask};
    for (int y = 0; y < size.height; ++y) {
        guchar* out = gdk_pixbuf_get_pixels(pixbuf) + y * gdk_pixbuf_get_rowstride(pixbuf);
        for (int x = 0; x < size.width; ++x) {
            const unsigned long pixel = XGetPixel(image, x, y);
            for (const unsigned long mask : masks) {
                const unsigned long low = mask & -mask; // the channel's lowest bit
                *out++ = static_cast<guchar>(low == 0 ? 0 : (pixel & mask) / low * 255 / (mask / low));
            }
        }
    }
    XDestroyImage(image);
    GError* error = nullptr;
    const bool saved = gdk_pixbuf_save(pixbuf, pngPath.c_str(), "png", &error, nullptr);
    g_object_unref(pixbuf);
    if (!saved) {
        const std::string reason = error != nullptr ? error->message : "unknown error";
        g_clear_error(&error);
        throw Error("cannot save " + pngPath + ": " + reason);
    }
}

} // namespace testkit
