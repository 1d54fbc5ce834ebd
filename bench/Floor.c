/*
 * xvtui_bench_floor: the floor of any GTK+ 2 dialog, for the peer comparison.
 *
 * A bare top-level window with an entry and two buttons, shown at once, built
 * with nothing but GTK+ 2: no helper code, settings, locale or test kit, not
 * even the C++ library. It has the size, border and button size of the
 * helper's frame, so that what it costs to draw (a blinking cursor in an entry
 * as wide as the helper's, say) is the same. OK or Enter prints the entry's
 * text and exits with 0; Cancel, Escape or closing the window exits with 1.
 */
#include <stdio.h>
#include <string.h>
#include <gdk/gdkkeysyms.h>
#include <gtk/gtk.h>

static GtkWidget* entry;
static int status = 1;

static void cbOnOK(GtkWidget* button, gpointer data)
{
    (void)button;
    (void)data;
    const char* text = gtk_entry_get_text(GTK_ENTRY(entry));
    fwrite(text, 1, strlen(text), stdout);
    status = 0;
    gtk_main_quit();
}

static void cbOnCancel(GtkWidget* button, gpointer data)
{
    (void)button;
    (void)data;
    gtk_main_quit();
}

static gboolean cbOnDelete(GtkWidget* window, GdkEvent* event, gpointer data)
{
    (void)window;
    (void)event;
    (void)data;
    gtk_main_quit();
    return TRUE;
}

static gboolean cbOnKeyPressed(GtkWidget* window, GdkEventKey* event, gpointer data)
{
    (void)window;
    (void)data;
    if (event->keyval != GDK_Escape)
        return FALSE;
    gtk_main_quit();
    return TRUE;
}

int main(void)
{
    if (!gtk_init_check(NULL, NULL))
        return 2;
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), "Floor");
    gtk_widget_set_size_request(window, 410, 470);
    gtk_container_set_border_width(GTK_CONTAINER(window), 15);
    GtkWidget* box = gtk_vbox_new(FALSE, 10);
    gtk_container_add(GTK_CONTAINER(window), box);
    entry = gtk_entry_new();
    gtk_entry_set_visibility(GTK_ENTRY(entry), FALSE);
    gtk_entry_set_activates_default(GTK_ENTRY(entry), TRUE);
    gtk_box_pack_start(GTK_BOX(box), entry, FALSE, FALSE, 0);
    GtkWidget* row = gtk_hbutton_box_new();
    gtk_button_box_set_layout(GTK_BUTTON_BOX(row), GTK_BUTTONBOX_END);
    GtkWidget* ok = gtk_button_new_with_label("OK");
    GtkWidget* cancel = gtk_button_new_with_label("Cancel");
    gtk_container_add(GTK_CONTAINER(row), ok);
    gtk_container_add(GTK_CONTAINER(row), cancel);
    gtk_widget_set_size_request(ok, 90, 28);
    gtk_widget_set_size_request(cancel, 90, 28);
    gtk_box_pack_end(GTK_BOX(box), row, FALSE, FALSE, 0);
    g_signal_connect(ok, "clicked", G_CALLBACK(cbOnOK), NULL);
    g_signal_connect(cancel, "clicked", G_CALLBACK(cbOnCancel), NULL);
    g_signal_connect(window, "delete-event", G_CALLBACK(cbOnDelete), NULL);
    g_signal_connect(window, "key-press-event", G_CALLBACK(cbOnKeyPressed), NULL);
    gtk_widget_show_all(window);
    gtk_widget_set_can_default(ok, TRUE);
    gtk_widget_grab_default(ok);
    gtk_main();
    return status;
}
