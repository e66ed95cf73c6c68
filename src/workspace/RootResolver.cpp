#include "RootResolver.h"

#include "Workspace.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThreadPool>

void RootResolver::resolve(const QString &filePath, const QStringList &opened)
{
    const quint64 generation = ++m_generation;
    if (filePath.isEmpty()) {
        Q_EMIT resolved(QString());
        return;
    }
    QPointer<RootResolver> self(this);
    QThreadPool::globalInstance()->start([self, generation, filePath, opened] {
        const QString root = Workspace::root(filePath, opened).value_or(QString());
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, generation, root] {
                if (self && self->m_generation == generation)
                    Q_EMIT self->resolved(root);
            },
            Qt::QueuedConnection);
    });
}
