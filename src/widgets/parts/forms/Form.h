#pragma once

#include <QString>

class QFormLayout;
class QWidget;

namespace tovri {

// Titles before their fields, in rows, for sheets and settings.
[[nodiscard]] QFormLayout* makeForm();

// The title names the field to a screen reader too.
void addField(QFormLayout& form, const QString& title, QWidget* field);

// The bold line above a group of fields.
void addSection(QFormLayout& form, const QString& title);

// A small pale sentence below the field before it.
void addNote(QFormLayout& form, const QString& text);

}  // namespace tovri
