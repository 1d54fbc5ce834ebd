#include "base/secure/SecureEntryBuffer.h"

#include "base/secure/SecureMemory.h"

#include <cstring>

namespace {

// The same limit as GTK's own buffer (GTK_ENTRY_BUFFER_MAX_SIZE).
constexpr gsize kMaxTextBytes = G_MAXUSHORT;

struct XvtuiSecureEntryBuffer {
    GtkEntryBuffer parent;
    gchar* text;      // secure block of `size` bytes, or null while empty
    gsize size;       // block size in bytes
    gsize bytes;      // text length in bytes, without the NUL
    guint chars;      // text length in characters
};

struct XvtuiSecureEntryBufferClass {
    GtkEntryBufferClass parent_class;
};

GType xvtui_secure_entry_buffer_get_type();

#define XVTUI_SECURE_ENTRY_BUFFER(object) \
    (G_TYPE_CHECK_INSTANCE_CAST((object), xvtui_secure_entry_buffer_get_type(), XvtuiSecureEntryBuffer))

G_DEFINE_TYPE(XvtuiSecureEntryBuffer, xvtui_secure_entry_buffer, GTK_TYPE_ENTRY_BUFFER)

const gchar* SecureGetText(GtkEntryBuffer* buffer, gsize* bytes)
{
    XvtuiSecureEntryBuffer* self = XVTUI_SECURE_ENTRY_BUFFER(buffer);
    if (bytes != nullptr) {
        *bytes = self->bytes;
    }
    return self->text != nullptr ? self->text : "";
}

guint SecureGetLength(GtkEntryBuffer* buffer)
{
    return XVTUI_SECURE_ENTRY_BUFFER(buffer)->chars;
}

// Moves the text into a block of at least `needed` bytes; false when there is
// no memory (the text is then left as it was).
bool SecureGrow(XvtuiSecureEntryBuffer* self, gsize needed)
{
    gsize wanted = self->size == 0 ? 64 : self->size;
    while (wanted < needed) {
        wanted *= 2;
    }
    void* block = secure::TryAllocate(wanted);
    if (block == nullptr) {
        return false;
    }
    const gsize size = secure::BlockSize(wanted);
    if (self->text != nullptr) {
        std::memcpy(block, self->text, self->bytes + 1);
        secure::Release(self->text, self->size);
    }
    self->text = static_cast<gchar*>(block);
    self->size = size;
    return true;
}

guint SecureInsertText(GtkEntryBuffer* buffer, guint position, const gchar* chars, guint nChars)
{
    XvtuiSecureEntryBuffer* self = XVTUI_SECURE_ENTRY_BUFFER(buffer);
    if (position > self->chars) {
        position = self->chars;
    }
    gsize nBytes = g_utf8_offset_to_pointer(chars, nChars) - chars;
    if (nBytes > kMaxTextBytes - self->bytes) {
        // Cut at the last whole character that still fits.
        nBytes = kMaxTextBytes - self->bytes;
        const gchar* end = chars + nBytes;
        if (nBytes != 0) {
            end = g_utf8_find_prev_char(chars, chars + nBytes + 1);
            if (end == nullptr) {
                end = chars;
            }
        }
        nBytes = end - chars;
        nChars = g_utf8_strlen(chars, nBytes);
    }
    if (nChars == 0) {
        return 0;
    }
    if (self->bytes + nBytes + 1 > self->size && !SecureGrow(self, self->bytes + nBytes + 1)) {
        return 0;
    }
    const gsize at = g_utf8_offset_to_pointer(self->text, position) - self->text;
    std::memmove(self->text + at + nBytes, self->text + at, self->bytes - at + 1);
    std::memcpy(self->text + at, chars, nBytes);
    self->bytes += nBytes;
    self->chars += nChars;
    gtk_entry_buffer_emit_inserted_text(buffer, position, chars, nChars);
    return nChars;
}

guint SecureDeleteText(GtkEntryBuffer* buffer, guint position, guint nChars)
{
    XvtuiSecureEntryBuffer* self = XVTUI_SECURE_ENTRY_BUFFER(buffer);
    if (position > self->chars) {
        position = self->chars;
    }
    if (nChars > self->chars - position) {
        nChars = self->chars - position;
    }
    if (nChars == 0) {
        return 0;
    }
    const gsize start = g_utf8_offset_to_pointer(self->text, position) - self->text;
    const gsize end = g_utf8_offset_to_pointer(self->text, position + nChars) - self->text;
    std::memmove(self->text + start, self->text + end, self->bytes - end + 1);
    self->bytes -= end - start;
    self->chars -= nChars;
    // What the move left behind the new terminator is a stale copy of the tail.
    secure::Wipe(self->text + self->bytes + 1, end - start);
    gtk_entry_buffer_emit_deleted_text(buffer, position, nChars);
    return nChars;
}

void SecureFinalize(GObject* object)
{
    XvtuiSecureEntryBuffer* self = XVTUI_SECURE_ENTRY_BUFFER(object);
    secure::Release(self->text, self->size);
    self->text = nullptr;
    self->size = self->bytes = 0;
    self->chars = 0;
    G_OBJECT_CLASS(xvtui_secure_entry_buffer_parent_class)->finalize(object);
}

void xvtui_secure_entry_buffer_init(XvtuiSecureEntryBuffer* self)
{
    self->text = nullptr;
    self->size = self->bytes = 0;
    self->chars = 0;
}

void xvtui_secure_entry_buffer_class_init(XvtuiSecureEntryBufferClass* klass)
{
    G_OBJECT_CLASS(klass)->finalize = SecureFinalize;
    GtkEntryBufferClass* bufferClass = GTK_ENTRY_BUFFER_CLASS(klass);
    bufferClass->get_text = SecureGetText;
    bufferClass->get_length = SecureGetLength;
    bufferClass->insert_text = SecureInsertText;
    bufferClass->delete_text = SecureDeleteText;
}

} // namespace

namespace secure {

GtkEntryBuffer* NewEntryBuffer()
{
    return GTK_ENTRY_BUFFER(g_object_new(xvtui_secure_entry_buffer_get_type(), nullptr));
}

GtkWidget* NewPasswordEntry(int maxLength)
{
    GtkEntryBuffer* buffer = NewEntryBuffer();
    gtk_entry_buffer_set_max_length(buffer, CLAMP(maxLength, 0, static_cast<int>(kMaxTextBytes)));
    GtkWidget* entry = gtk_entry_new_with_buffer(buffer);
    g_object_unref(buffer); // the entry holds its own reference
    gtk_entry_set_visibility(GTK_ENTRY(entry), FALSE);
    return entry;
}

bool IsSecureEntryBuffer(GtkEntryBuffer* buffer)
{
    return buffer != nullptr && G_TYPE_CHECK_INSTANCE_TYPE(buffer, xvtui_secure_entry_buffer_get_type());
}

} // namespace secure
