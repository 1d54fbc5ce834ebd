// Accessible.cpp: the ATK calls behind Accessible.h.
#include "base/Accessible.h"

namespace accessible {

namespace {

// The widget's accessible object, or null when no accessibility
// implementation is loaded (the desktop runs no screen reader): GTK would
// then make an object nobody can read, at the cost of its type's set-up.
AtkObject* Object(GtkWidget* widget)
{
    const bool loaded =
        !ATK_IS_NO_OP_OBJECT_FACTORY(atk_registry_get_factory(atk_get_default_registry(), GTK_TYPE_WIDGET));
    return loaded ? gtk_widget_get_accessible(widget) : nullptr;
}

} // namespace

void TieCaption(GtkWidget* label, GtkWidget* target)
{
    AtkObject* caption = Object(label);
    AtkObject* named = Object(target);
    if (caption == nullptr || named == nullptr)
        return;
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
    if (AtkObject* object = Object(window))
        atk_object_set_description(object, WithoutTrailingLineEnds(text).c_str());
}

void NameAfterText(GtkWidget* label)
{
    AtkObject* object = Object(label);
    if (object == nullptr)
        return;
    const std::string name = WithoutTrailingLineEnds(gtk_label_get_text(GTK_LABEL(label)));
    const gchar* current = atk_object_get_name(object);
    if (current == nullptr || name != current)
        atk_object_set_name(object, name.c_str());
}

void SetRole(GtkWidget* widget, AtkRole role)
{
    if (AtkObject* object = Object(widget))
        atk_object_set_role(object, role);
}

void SetName(GtkWidget* widget, const std::string& name)
{
    if (AtkObject* object = Object(widget))
        atk_object_set_name(object, name.c_str());
}

} // namespace accessible
