#include "Preferences.h"

#include "TextScale.h"

#include <QMetaProperty>
#include <QStandardPaths>

namespace Lumo::Base {

namespace {

QVariant defaultFor(const QString &key)
{
    static const QVariantMap defaults{
        {QStringLiteral("theme"), QStringLiteral("lumo")},
        {QStringLiteral("appearance"), QStringLiteral("system")},
        {QStringLiteral("readerFont"), QStringLiteral("sans")},
        {QStringLiteral("readingWidth"), QStringLiteral("comfortable")},
        {QStringLiteral("textScale"), 1.0},
        {QStringLiteral("openInEditMode"), false},
        {QStringLiteral("useCustomCSS"), false},
        {QStringLiteral("loadRemoteImages"), true},
        {QStringLiteral("showSidebar"), false},
        {QStringLiteral("followChanges"), false},
        {QStringLiteral("sidebarWidth"), 250.0},
        {QStringLiteral("debugHooks"), false},
        {QStringLiteral("askedToBeDefault"), false},
        {QStringLiteral("migratedFromScrivent"), false},
        {QStringLiteral("sidebarExpanded"), QVariantMap()},
        {QStringLiteral("sidebarViewed"), QVariantMap()},
        {QStringLiteral("sidebarBaselines"), QVariantMap()},
        {QStringLiteral("workspaceFolders"), QStringList()},
        {QStringLiteral("recentDocuments"), QStringList()},
        {QStringLiteral("launchedBefore"), false},
    };
    return defaults.value(key);
}

} // namespace

Preferences::Preferences(const QString &filePath, QObject *parent)
    : QObject(parent)
    , m_settings(filePath, QSettings::IniFormat)
{}

Preferences::~Preferences()
{
    m_settings.sync();
}

Preferences &Preferences::shared()
{
    static Preferences *instance = new Preferences(defaultFilePath());
    return *instance;
}

QString Preferences::defaultFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Lumo/Lumo.conf");
}

QVariant Preferences::value(const QString &key) const
{
    return m_settings.value(key, defaultFor(key));
}

bool Preferences::contains(const QString &key) const
{
    return m_settings.contains(key);
}

void Preferences::setValue(const QString &key, const QVariant &newValue)
{
    const QVariant old = value(key);
    m_settings.setValue(key, newValue);
    if (old != newValue)
        announce(key);
}

void Preferences::remove(const QString &key)
{
    if (!m_settings.contains(key))
        return;
    const QVariant old = value(key);
    m_settings.remove(key);
    if (old != value(key))
        announce(key);
}

void Preferences::sync()
{
    m_settings.sync();
}

void Preferences::announce(const QString &key)
{
    const QMetaObject *meta = metaObject();
    const int index = meta->indexOfProperty(key.toLatin1().constData());
    if (index >= 0)
        meta->property(index).notifySignal().invoke(this);
    Q_EMIT valueChanged(key);
}

QString Preferences::theme() const
{
    return value(QStringLiteral("theme")).toString();
}
void Preferences::setTheme(const QString &theme)
{
    setValue(QStringLiteral("theme"), theme);
}

QString Preferences::readerFont() const
{
    return value(QStringLiteral("readerFont")).toString();
}
void Preferences::setReaderFont(const QString &font)
{
    setValue(QStringLiteral("readerFont"), font);
}

QString Preferences::readingWidth() const
{
    return value(QStringLiteral("readingWidth")).toString();
}
void Preferences::setReadingWidth(const QString &width)
{
    setValue(QStringLiteral("readingWidth"), width);
}

QString Preferences::appearance() const
{
    return value(QStringLiteral("appearance")).toString();
}
void Preferences::setAppearance(const QString &appearance)
{
    setValue(QStringLiteral("appearance"), appearance);
}

double Preferences::textScale() const
{
    return TextScale::fromStored(m_settings.value(QStringLiteral("textScale")));
}

void Preferences::setTextScale(double scale)
{
    setValue(QStringLiteral("textScale"), scale);
}

void Preferences::stepTextScale(double delta)
{
    setValue(QStringLiteral("textScale"), TextScale::stepped(textScale(), delta));
}

void Preferences::resetTextScale()
{
    setValue(QStringLiteral("textScale"), 1);
}

bool Preferences::openInEditMode() const
{
    return value(QStringLiteral("openInEditMode")).toBool();
}
void Preferences::setOpenInEditMode(bool on)
{
    setValue(QStringLiteral("openInEditMode"), on);
}

bool Preferences::useCustomCSS() const
{
    return value(QStringLiteral("useCustomCSS")).toBool();
}
void Preferences::setUseCustomCSS(bool on)
{
    setValue(QStringLiteral("useCustomCSS"), on);
}

bool Preferences::loadRemoteImages() const
{
    return value(QStringLiteral("loadRemoteImages")).toBool();
}
void Preferences::setLoadRemoteImages(bool on)
{
    setValue(QStringLiteral("loadRemoteImages"), on);
}

bool Preferences::showSidebar() const
{
    return value(QStringLiteral("showSidebar")).toBool();
}
void Preferences::setShowSidebar(bool on)
{
    setValue(QStringLiteral("showSidebar"), on);
}

bool Preferences::followChanges() const
{
    return value(QStringLiteral("followChanges")).toBool();
}
void Preferences::setFollowChanges(bool on)
{
    setValue(QStringLiteral("followChanges"), on);
}

double Preferences::sidebarWidth() const
{
    bool ok = false;
    const double width = value(QStringLiteral("sidebarWidth")).toDouble(&ok);
    return ok ? width : defaultFor(QStringLiteral("sidebarWidth")).toDouble();
}
void Preferences::setSidebarWidth(double width)
{
    setValue(QStringLiteral("sidebarWidth"), width);
}

bool Preferences::debugHooks() const
{
    return value(QStringLiteral("debugHooks")).toBool();
}
void Preferences::setDebugHooks(bool on)
{
    setValue(QStringLiteral("debugHooks"), on);
}

bool Preferences::askedToBeDefault() const
{
    return value(QStringLiteral("askedToBeDefault")).toBool();
}
void Preferences::setAskedToBeDefault(bool asked)
{
    setValue(QStringLiteral("askedToBeDefault"), asked);
}

bool Preferences::migratedFromScrivent() const
{
    return value(QStringLiteral("migratedFromScrivent")).toBool();
}
void Preferences::setMigratedFromScrivent(bool migrated)
{
    setValue(QStringLiteral("migratedFromScrivent"), migrated);
}

QVariantMap Preferences::sidebarExpanded() const
{
    return value(QStringLiteral("sidebarExpanded")).toMap();
}
void Preferences::setSidebarExpanded(const QVariantMap &expanded)
{
    setValue(QStringLiteral("sidebarExpanded"), expanded);
}

QVariantMap Preferences::sidebarViewed() const
{
    return value(QStringLiteral("sidebarViewed")).toMap();
}
void Preferences::setSidebarViewed(const QVariantMap &viewed)
{
    setValue(QStringLiteral("sidebarViewed"), viewed);
}

QVariantMap Preferences::sidebarBaselines() const
{
    return value(QStringLiteral("sidebarBaselines")).toMap();
}
void Preferences::setSidebarBaselines(const QVariantMap &baselines)
{
    setValue(QStringLiteral("sidebarBaselines"), baselines);
}

QStringList Preferences::workspaceFolders() const
{
    return value(QStringLiteral("workspaceFolders")).toStringList();
}
void Preferences::setWorkspaceFolders(const QStringList &folders)
{
    setValue(QStringLiteral("workspaceFolders"), folders);
}

QStringList Preferences::recentDocuments() const
{
    return value(QStringLiteral("recentDocuments")).toStringList();
}

void Preferences::setRecentDocuments(const QStringList &paths)
{
    setValue(QStringLiteral("recentDocuments"), paths);
}

void Preferences::noteRecentDocument(const QString &path)
{
    constexpr qsizetype limit = 10;
    QStringList recent = recentDocuments();
    recent.removeAll(path);
    recent.prepend(path);
    setRecentDocuments(recent.mid(0, limit));
}

bool Preferences::launchedBefore() const
{
    return value(QStringLiteral("launchedBefore")).toBool();
}
void Preferences::setLaunchedBefore(bool launched)
{
    setValue(QStringLiteral("launchedBefore"), launched);
}

} // namespace Lumo::Base
