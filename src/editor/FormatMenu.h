#pragma once

#include <functional>

class EditorView;
class QMainWindow;

// Adds the "Format" menu (Bold, Italic, Strikethrough, Code, Link) to the window's menu
// bar. Each item acts on the editor that `editor` returns, and only while it returns
// one: the caller calls updateFormatMenu whenever editing starts or stops.
void addFormatMenu(QMainWindow *window, std::function<EditorView *()> editor);

// Enables the Format items while editing; disabled items leave Ctrl+B to the sidebar.
void updateFormatMenu(QMainWindow *window, bool editing);
