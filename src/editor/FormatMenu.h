#pragma once

#include <functional>

class QWidget;

namespace Lumo::Editor {

class EditorView;

// Adds the Format menu's commands to the window: "bold", "italic", "strikethrough",
// "code" and "link". Each acts on the editor that `editor` returns, and only while it
// returns one: the caller calls updateFormatCommands whenever editing starts or stops.
void addFormatCommands(QWidget *window, std::function<EditorView *()> editor);

// Enables the Format commands while editing; disabled ones leave Ctrl+B to the sidebar.
void updateFormatCommands(QWidget *window, bool editing);

} // namespace Lumo::Editor
