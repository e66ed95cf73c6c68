#include "EmptyHint.h"

#include <QEvent>

namespace Lumo::Document {

EmptyHint::EmptyHint(QWidget *page)
    : QLabel(page)
{
    setObjectName(QStringLiteral("emptyHint"));
    setText(tr("Open a file with Ctrl+O, or press Ctrl+E to start writing."));
    setAlignment(Qt::AlignCenter);
    setWordWrap(true);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setForegroundRole(QPalette::PlaceholderText);
    setMargin(24);
    page->installEventFilter(this);
    setGeometry(page->rect());
    hide();
}

bool EmptyHint::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parent() && event->type() == QEvent::Resize) {
        setGeometry(parentWidget()->rect());
        raise();
    }
    return QLabel::eventFilter(watched, event);
}

} // namespace Lumo::Document
