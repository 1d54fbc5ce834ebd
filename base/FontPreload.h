/*
 * FontPreload.h: the font configuration read in a thread of its own while the
 * dialog starts the toolkit.
 *
 * Every GTK+ 2 program reads fontconfig's configuration (some forty XML files)
 * when its first text is measured, and fontconfig's own start also parses
 * every optional rule file of its template directory, only to learn their
 * descriptions. A dialog starts the same reading here, without those
 * descriptions, as soon as its locale is set; by the time its first text is
 * measured the configuration is there. The fonts chosen and the rules
 * applied are the same as fontconfig's own start gives.
 */
#ifndef XVTUI_BASE_FONTPRELOAD_H
#define XVTUI_BASE_FONTPRELOAD_H

#include <thread>

class FontPreload {
public:
    FontPreload() = default;
    // Waits for a reading still under way (a dialog that fails before its
    // window exists, say): a few milliseconds.
    ~FontPreload();
    FontPreload(const FontPreload&) = delete;
    FontPreload& operator=(const FontPreload&) = delete;

    // Starts the reading, unless this process already uses fonts (a font map
    // exists), a reading was started, or no thread can be started: fontconfig
    // then reads its configuration itself, when it is first needed. Call it
    // once the process's locale is set: fontconfig reads decimal numbers the
    // locale's way, and setlocale must not change it under the reading.
    void Start();

    // Waits until the configuration is read. Call it before the toolkit can
    // measure a text: a font map made before then would read the
    // configuration a second time. Calling it again does nothing.
    void Wait();

    // Whether this object started a reading (for tests).
    bool Started() const { return m_started; }

private:
    std::thread m_thread;
    bool m_started = false;
};

#endif
