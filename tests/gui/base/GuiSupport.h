// GuiSupport.h: what the in-process widget tests share.
#pragma once

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <cstdlib>
#include <cstring>
#include <functional>

#include <unistd.h>

#include "common/Xvfb.h"
#include "common/Sandbox.h"

// The private Xvfb, English texts, the build tree's catalogue, temporary
// settings, and a watchdog: a test that hangs in a main loop fails instead.
class GuiTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        testkit::PrivateDisplay();
        setenv("LC_ALL", "C.UTF-8", 1);
        setenv("TORVIK_CATALOG_DIR", XVTUI_CATALOG_DIR, 1);
        setenv("TORVIK_LOCALE_CATALOG_DIR", XVTUI_RU_CATALOG_DIR, 1);
        m_settings.Export();
        alarm(30);
    }
    void TearDown() override { alarm(0); }

    testkit::Sandbox m_settings;
};

// The widget named `name` (gtk_widget_set_name) in the tree under `root`.
inline GtkWidget* FindNamed(GtkWidget* root, const char* name)
{
    if (root == nullptr || std::strcmp(gtk_widget_get_name(root), name) == 0)
        return root;
    GtkWidget* found = nullptr;
    if (GTK_IS_CONTAINER(root)) {
        GList* children = gtk_container_get_children(GTK_CONTAINER(root));
        for (GList* item = children; item != nullptr && found == nullptr; item = item->next)
            found = FindNamed(GTK_WIDGET(item->data), name);
        g_list_free(children);
    }
    return found;
}

// The widget named `name` in the top-level windows (the last one that has
// it), only in mapped ones when `mapped`; null when none has it.
inline GtkWidget* FindInToplevels(const char* name, bool mapped = false)
{
    GtkWidget* found = nullptr;
    GList* toplevels = gtk_window_list_toplevels();
    for (GList* item = toplevels; item != nullptr; item = item->next) {
        GtkWidget* toplevel = GTK_WIDGET(item->data);
        if (!mapped || gtk_widget_get_mapped(toplevel))
            if (GtkWidget* widget = FindNamed(toplevel, name))
                found = widget;
    }
    g_list_free(toplevels);
    return found;
}

// Runs `step` from the main loop every 10 ms until it returns true.
inline void WhenReady(std::function<bool()> step)
{
    auto* pending = new std::function<bool()>(std::move(step));
    g_timeout_add_full(
        G_PRIORITY_DEFAULT, 10,
        [](gpointer data) -> gboolean { return (*static_cast<std::function<bool()>*>(data))() ? FALSE : TRUE; },
        pending, [](gpointer data) { delete static_cast<std::function<bool()>*>(data); });
}
