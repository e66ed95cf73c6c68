#include "PageAccessibleName.h"

#include <QEvent>
#include <QWebEngineView>

namespace Lumo::Document {

PageAccessibleName::PageAccessibleName(QWebEngineView *view, const QString &name)
    : QObject(view)
    , m_view(view)
    , m_name(name)
{
    m_view->setAccessibleName(name);
    m_view->installEventFilter(this);
    apply();
}

bool PageAccessibleName::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_view && event->type() == QEvent::ChildPolished)
        apply();
    return QObject::eventFilter(watched, event);
}

void PageAccessibleName::apply()
{
    if (QWidget *page = m_view->focusProxy())
        page->setAccessibleName(m_name);
}

} // namespace Lumo::Document
