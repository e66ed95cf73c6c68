#include "WarningAlert.h"

#include <QMessageBox>

namespace Lumo::Base::WarningAlert {

void show(QWidget *parent, const QString &title, const QString &reason)
{
    auto *box = new QMessageBox(QMessageBox::Warning, QStringLiteral("Lumo"), title,
                                QMessageBox::Ok, parent);
    box->setInformativeText(reason);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

} // namespace Lumo::Base::WarningAlert
