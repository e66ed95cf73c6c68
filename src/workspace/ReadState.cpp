#include "ReadState.h"

#include "base/PathKey.h"
#include "base/Preferences.h"

#include <algorithm>
#include <limits>
#include <QCoreApplication>

namespace Lumo::Workspace {

using Lumo::Base::Preferences;
namespace PathKey = Lumo::Base::PathKey;

namespace {

qint64 sortKey(const QDateTime &date)
{
    return date.isValid() ? date.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
}

bool isLater(const QDateTime &a, const QDateTime &b)
{
    return sortKey(a) > sortKey(b);
}

// A stored map that is not entirely dates reads as empty.
QHash<QString, QDateTime> datesOf(const QVariantMap &stored)
{
    QHash<QString, QDateTime> dates;
    for (auto it = stored.begin(); it != stored.end(); ++it) {
        if (it.value().typeId() != QMetaType::QDateTime)
            return {};
        dates.insert(it.key(), it.value().toDateTime());
    }
    return dates;
}

QVariantMap storedForm(const QHash<QString, QDateTime> &dates)
{
    QVariantMap map;
    for (auto it = dates.begin(); it != dates.end(); ++it)
        map.insert(it.key(), it.value());
    return map;
}

// Keeps the `kept` newest entries.
QHash<QString, QDateTime> newest(const QHash<QString, QDateTime> &dates, int kept)
{
    QList<std::pair<QString, QDateTime>> entries;
    for (auto it = dates.begin(); it != dates.end(); ++it)
        entries.append({it.key(), it.value()});
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto &a, const auto &b) { return isLater(a.second, b.second); });
    QHash<QString, QDateTime> result;
    for (qsizetype i = 0; i < std::min<qsizetype>(kept, entries.size()); ++i)
        result.insert(entries[i].first, entries[i].second);
    return result;
}

} // namespace

ReadState::ReadState(Preferences &preferences, QObject *parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_viewed(datesOf(preferences.sidebarViewed()))
    , m_baselines(datesOf(preferences.sidebarBaselines()))
{
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(saveDelayMilliseconds);
    connect(&m_saveTimer, &QTimer::timeout, this, &ReadState::save);
    if (QCoreApplication *application = QCoreApplication::instance())
        connect(application, &QCoreApplication::aboutToQuit, this, &ReadState::flush);
}

ReadState::~ReadState() = default;

ReadState &ReadState::shared()
{
    static ReadState *instance = new ReadState(Preferences::shared());
    return *instance;
}

void ReadState::noteViewed(const QString &filePath)
{
    m_viewed.insert(PathKey::resolved(filePath), QDateTime::currentDateTimeUtc());
    Q_EMIT viewedChanged();
    scheduleSave();
}

QDateTime ReadState::baseline(const QString &folderPath)
{
    const QString key = PathKey::resolved(folderPath);
    if (const auto found = m_baselines.constFind(key); found != m_baselines.constEnd())
        return *found;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    m_baselines.insert(key, now);
    scheduleSave();
    return now;
}

bool ReadState::isUnread(const TreeNode &node, const QDateTime &since) const
{
    if (node.isFolder) {
        return std::any_of(node.children.begin(), node.children.end(),
                           [&](const TreeNode &child) { return isUnread(child, since); });
    }
    if (!isLater(node.modified, since))
        return false;
    return isLater(node.modified, m_viewed.value(PathKey::resolved(node.url)));
}

void ReadState::flush()
{
    if (m_saveTimer.isActive()) {
        m_saveTimer.stop();
        save();
    }
}

void ReadState::scheduleSave()
{
    m_saveTimer.start();
}

void ReadState::save()
{
    if (m_viewed.size() > viewedLimit) {
        m_viewed = newest(m_viewed, viewedKept);
        Q_EMIT viewedChanged();
    }
    if (m_baselines.size() > baselinesLimit)
        m_baselines = newest(m_baselines, baselinesKept);
    m_preferences.setSidebarViewed(storedForm(m_viewed));
    m_preferences.setSidebarBaselines(storedForm(m_baselines));
}

} // namespace Lumo::Workspace
