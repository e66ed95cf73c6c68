#include "TabNotice.h"

#include <QHBoxLayout>
#include <QLabel>

namespace Lumo::Document {

TabNotice::TabNotice(QWidget *parent)
    : QFrame(parent)
    , m_label(new QLabel(this))
{
    setObjectName(QStringLiteral("tabNotice"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    m_label->setWordWrap(true);
    m_label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(12, 6, 12, 6);
    row->addWidget(m_label, 1);
    hide();
}

void TabNotice::setMessage(const QString &message)
{
    m_label->setText(message);
    setVisible(!message.isEmpty());
}

QString TabNotice::message() const
{
    return m_label->text();
}

} // namespace Lumo::Document
