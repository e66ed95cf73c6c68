#pragma once

#include <QJsonObject>

namespace Lumo::App {

class DocumentWindow;

// What a user of the window would see, for the diagnostic hook "lumoapp.debug.state":
// the title, the tabs, which part holds the keyboard, the mode, the editor's top line
// and caret, the find bar's count and the outline's selection.
namespace WindowProbe {

QJsonObject state(const DocumentWindow *window);
// Prints "Lumo debug state: " and the state as one line of JSON.
void print(const DocumentWindow *window);

} // namespace WindowProbe

} // namespace Lumo::App
