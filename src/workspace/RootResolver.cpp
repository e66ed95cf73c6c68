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
    // A remembered folder is found at once (a few path lookups), so a document opened
    // from a sidebar shows that sidebar without a blank moment; the project root needs
    // a walk up the folders and is found off the main thread.
    for (const QString &folder : opened) {
        if (Workspace::contains(folder, filePath)) {
            Q_EMIT resolved(folder);
            return;
        }
    }
    QPointer<RootResolver> self(this);
    QThreadPool::globalInstance()->start([self, generation, filePath, opened] {
        const QString root = Workspace::root(filePath, {}).value_or(QString());
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, generation, root] {
                if (self && self->m_generation == generation)
                    Q_EMIT self->resolved(root);
            },
            Qt::QueuedConnection);
    });
}
