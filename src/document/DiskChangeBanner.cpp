#include "DiskChangeBanner.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace Lumo::Document {

DiskChangeBanner::DiskChangeBanner(QWidget *parent)
    : QFrame(parent)
{
    setObjectName(QStringLiteral("diskChangeBanner"));
    setAccessibleName(tr("Changed on disk"));
    setAccessibleDescription(tr("Another program changed this file while it has your edits"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);

    auto *message = new QLabel(tr("Changed on disk"), this);
    QFont font = message->font();
    font.setWeight(QFont::Medium);
    message->setFont(font);

    auto *reload = new QPushButton(tr("Reload"), this);
    reload->setDefault(true);
    auto *keepMine = new QPushButton(tr("Keep Mine"), this);
    keepMine->setFlat(true);
    connect(reload, &QPushButton::clicked, this, &DiskChangeBanner::reloadClicked);
    connect(keepMine, &QPushButton::clicked, this, &DiskChangeBanner::keepMineClicked);

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(12, 6, 8, 6);
    row->addWidget(message);
    row->addWidget(reload);
    row->addWidget(keepMine);
    row->addStretch();
}

} // namespace Lumo::Document
