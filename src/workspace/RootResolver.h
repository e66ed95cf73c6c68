#pragma once

#include <QObject>

namespace Lumo::Workspace {

// Finds the folder a document's sidebar shows (Workspace::root): a remembered folder
// at once, the project root off the main thread. A new request supersedes any earlier
// one still running: only the latest answer is announced. Main thread only.
class RootResolver final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RootResolver)

public:
    using QObject::QObject;

    void resolve(const QString &filePath, const QStringList &opened);

Q_SIGNALS:
    // The folder, or an empty string when the document belongs to none.
    void resolved(const QString &root);

private:
    quint64 m_generation = 0;
};

} // namespace Lumo::Workspace
