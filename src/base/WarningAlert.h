#pragma once

#include <QString>

class QWidget;

// The alert for a command that failed: a warning with the failure as its title and
// the reason below, window-modal on `parent` (application-modal without one). Returns
// at once; the alert deletes itself when dismissed. Main thread only.
namespace Lumo::Base::WarningAlert {

void show(QWidget *parent, const QString &title, const QString &reason);

} // namespace Lumo::Base::WarningAlert
