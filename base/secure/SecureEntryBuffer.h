// A GtkEntryBuffer whose text lives in locked, wiped memory (SecureMemory.h).
//
// GTK's own buffer keeps an entry's text in ordinary heap memory. This one keeps
// it in a secure block; when the text outgrows the block it moves to a larger
// one and the old block is wiped, the bytes that a deletion frees are wiped at
// once, and the block is wiped when the buffer is finalised (the entry drops its
// reference when the window is destroyed). The text is limited to 65535 bytes,
// like GTK's own buffer.
#ifndef XVTUI_BASE_SECURE_SECUREENTRYBUFFER_H
#define XVTUI_BASE_SECURE_SECUREENTRYBUFFER_H

#include <gtk/gtk.h>

namespace secure {

// A new, empty buffer (one reference, owned by the caller).
GtkEntryBuffer* NewEntryBuffer();

// A new entry on a fresh secure buffer, its characters masked, its maximum
// length `maxLength` characters (0 or less: no limit, as for
// gtk_entry_new_with_max_length; values above GTK's limit are cut to it).
GtkWidget* NewPasswordEntry(int maxLength);

// True when `buffer` is one of ours (for tests and assertions).
bool IsSecureEntryBuffer(GtkEntryBuffer* buffer);

} // namespace secure

#endif
