#pragma once

class QWidget;

// The "openPanelCheck" diagnostic: a second after the Open dialog was asked for,
// prints whether one is showing and whether it lets the user choose folders, as
// "panel=true folders=false", then cancels it.
namespace OpenPanelCheck {

void reportLater(QWidget *window);

} // namespace OpenPanelCheck
