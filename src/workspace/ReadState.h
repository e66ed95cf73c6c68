#pragma once

#include "TreeNode.h"

#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QTimer>

namespace Lumo::Base {
class Preferences;
}

namespace Lumo::Workspace {

// Remembers, across launches, when each Markdown file was last shown and when each
// browsed folder was first seen, and from these tells which sidebar rows changed since
// the user last read them. Files and folders are keyed by their paths with symbolic
// links resolved, so two routes to one file share an entry.
//
// Changes are written under "sidebarViewed" and "sidebarBaselines" 2 s after the last
// of a burst (and at once when the application quits); a write keeps the maps bounded,
// pruning past 2000 files to the newest 1500 and past 100 folders to the newest 80.
// Main thread only.
class ReadState final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReadState)
    Q_PROPERTY(QHash<QString, QDateTime> viewed READ viewed NOTIFY viewedChanged)

public:
    static constexpr int saveDelayMilliseconds = 2000;
    static constexpr int viewedLimit = 2000;
    static constexpr int viewedKept = 1500;
    static constexpr int baselinesLimit = 100;
    static constexpr int baselinesKept = 80;

    // Loads both maps from the store.
    explicit ReadState(Lumo::Base::Preferences &preferences, QObject *parent = nullptr);
    ~ReadState() override;

    // The application's read state, over Preferences::shared().
    static ReadState &shared();

    // When each file was last shown.
    QHash<QString, QDateTime> viewed() const { return m_viewed; }

    // Records that the file was shown now: each time a window renders a document that
    // has a file, or reloads it from disk.
    void noteViewed(const QString &filePath);
    // When the folder was first browsed; now, remembered, on the first request.
    QDateTime baseline(const QString &folderPath);
    // Whether a file, or anything inside a folder, changed after `since` and after it
    // was last shown. Equal dates count as read.
    bool isUnread(const TreeNode &node, const QDateTime &since) const;

    // Runs a pending save now.
    void flush();

Q_SIGNALS:
    void viewedChanged();

private:
    void scheduleSave();
    void save();

    Lumo::Base::Preferences &m_preferences;
    QHash<QString, QDateTime> m_viewed;
    QHash<QString, QDateTime> m_baselines;
    QTimer m_saveTimer;
};

} // namespace Lumo::Workspace
