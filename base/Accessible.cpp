// Accessible.cpp: the ATK calls behind Accessible.h.
#include "base/Accessible.h"

namespace accessible {

void TieCaption(GtkWidget* label, GtkWidget* target)
{
    AtkObject* caption = gtk_widget_get_accessible(label);
    AtkObject* named = gtk_widget_get_accessible(target);
    atk_object_add_relationship(caption, ATK_RELATION_LABEL_FOR, named);
    atk_object_add_relationship(named, ATK_RELATION_LABELLED_BY, caption);
    if (!GTK_IS_LABEL(target))
        atk_object_set_name(named, gtk_label_get_text(GTK_LABEL(label)));
}

namespace {

std::string WithoutTrailingLineEnds(const std::string& text)
{
    const size_t end = text.find_last_not_of("\r\n");
    return end == std::string::npos ? std::string() : text.substr(0, end + 1);
}

} // namespace

void DescribeWindow(GtkWidget* window, const std::string& text)
{
    atk_object_set_description(gtk_widget_get_accessible(window), WithoutTrailingLineEnds(text).c_str());
}

void NameAfterText(GtkWidget* label)
{
    AtkObject* object = gtk_widget_get_accessible(label);
    const std::string name = WithoutTrailingLineEnds(gtk_label_get_text(GTK_LABEL(label)));
    const gchar* current = atk_object_get_name(object);
    if (current == nullptr || name != current)
        atk_object_set_name(object, name.c_str());
}

void SetRole(GtkWidget* widget, AtkRole role)
{
    atk_object_set_role(gtk_widget_get_accessible(widget), role);
}

void SetName(GtkWidget* widget, const std::string& name)
{
    atk_object_set_name(gtk_widget_get_accessible(widget), name.c_str());
}

} // namespace accessible
