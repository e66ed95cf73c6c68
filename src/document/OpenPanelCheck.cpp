#include "OpenPanelCheck.h"

#include <cstdio>
#include <QApplication>
#include <QFileDialog>
#include <QTimer>

namespace OpenPanelCheck {

void reportLater(QWidget *window)
{
    QTimer::singleShot(1000, window, [] {
        QFileDialog *panel = nullptr;
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            auto *dialog = qobject_cast<QFileDialog *>(widget);
            if (dialog && dialog->isVisible() && dialog->acceptMode() == QFileDialog::AcceptOpen)
                panel = dialog;
        }
        const bool folders = panel && panel->fileMode() == QFileDialog::Directory;
        std::fprintf(stdout, "panel=%s folders=%s\n", panel ? "true" : "false",
                     folders ? "true" : "false");
        std::fflush(stdout);
        if (panel)
            panel->reject();
    });
}

} // namespace OpenPanelCheck
