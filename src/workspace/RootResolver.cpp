#include "RootResolver.h"

#include "base/Background.h"
#include "Workspace.h"

namespace Lumo::Workspace {

using Lumo::Base::runInBackground;

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
    runInBackground(
        this, [filePath] { return Workspace::root(filePath, {}).value_or(QString()); },
        [this, generation](const QString &root) {
            if (m_generation == generation)
                Q_EMIT resolved(root);
        });
}

} // namespace Lumo::Workspace
