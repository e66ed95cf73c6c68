#pragma once

#include <QObject>
#include <QSettings>
#include <QStringList>
#include <QVariantMap>

namespace Lumo::Base {

// The user's preferences store: every key the application keeps, with its default.
// Each key is a property whose NOTIFY signal fires after a change made through this
// object, so every window follows a change at once. Main thread only.
//
// The enumerated values ("theme", "readerFont", "readingWidth", and "appearance":
// "system", "light" or "dark") are plain strings here: a string that names no case
// is kept and handed on as it is.
class Preferences final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Preferences)
    Q_PROPERTY(QString theme READ theme WRITE setTheme NOTIFY themeChanged)
    Q_PROPERTY(QString readerFont READ readerFont WRITE setReaderFont NOTIFY readerFontChanged)
    Q_PROPERTY(
        QString readingWidth READ readingWidth WRITE setReadingWidth NOTIFY readingWidthChanged)
    Q_PROPERTY(QString appearance READ appearance WRITE setAppearance NOTIFY appearanceChanged)
    Q_PROPERTY(double textScale READ textScale WRITE setTextScale NOTIFY textScaleChanged)
    Q_PROPERTY(bool openInEditMode READ openInEditMode WRITE setOpenInEditMode NOTIFY
                   openInEditModeChanged)
    Q_PROPERTY(bool useCustomCSS READ useCustomCSS WRITE setUseCustomCSS NOTIFY useCustomCSSChanged)
    Q_PROPERTY(bool loadRemoteImages READ loadRemoteImages WRITE setLoadRemoteImages NOTIFY
                   loadRemoteImagesChanged)
    Q_PROPERTY(bool showSidebar READ showSidebar WRITE setShowSidebar NOTIFY showSidebarChanged)
    Q_PROPERTY(
        bool followChanges READ followChanges WRITE setFollowChanges NOTIFY followChangesChanged)
    Q_PROPERTY(
        double sidebarWidth READ sidebarWidth WRITE setSidebarWidth NOTIFY sidebarWidthChanged)
    Q_PROPERTY(bool debugHooks READ debugHooks WRITE setDebugHooks NOTIFY debugHooksChanged)
    Q_PROPERTY(bool askedToBeDefault READ askedToBeDefault WRITE setAskedToBeDefault NOTIFY
                   askedToBeDefaultChanged)
    Q_PROPERTY(bool migratedFromScrivent READ migratedFromScrivent WRITE setMigratedFromScrivent
                   NOTIFY migratedFromScriventChanged)
    Q_PROPERTY(QVariantMap sidebarExpanded READ sidebarExpanded WRITE setSidebarExpanded NOTIFY
                   sidebarExpandedChanged)
    Q_PROPERTY(QVariantMap sidebarViewed READ sidebarViewed WRITE setSidebarViewed NOTIFY
                   sidebarViewedChanged)
    Q_PROPERTY(QVariantMap sidebarBaselines READ sidebarBaselines WRITE setSidebarBaselines NOTIFY
                   sidebarBaselinesChanged)
    Q_PROPERTY(QStringList workspaceFolders READ workspaceFolders WRITE setWorkspaceFolders NOTIFY
                   workspaceFoldersChanged)

public:
    // The store in the given INI file.
    explicit Preferences(const QString &filePath, QObject *parent = nullptr);
    ~Preferences() override;

    // The application's store, ~/.config/Lumo/Lumo.conf, created on first use.
    static Preferences &shared();
    static QString defaultFilePath();

    // The stored value of a key, or its default when the key is absent.
    QVariant value(const QString &key) const;
    bool contains(const QString &key) const;
    // Stores a value and, when it differs from the previous one, announces the change.
    void setValue(const QString &key, const QVariant &value);
    void remove(const QString &key);
    void sync();

    QString theme() const;
    void setTheme(const QString &theme);
    QString readerFont() const;
    void setReaderFont(const QString &font);
    QString readingWidth() const;
    void setReadingWidth(const QString &width);
    QString appearance() const;
    void setAppearance(const QString &appearance);

    double textScale() const;
    // Stored as given: the Settings slider only offers values on the tenth grid.
    void setTextScale(double scale);
    // One step of the text size: rounded to tenths and clamped to 0.7 ... 2.0.
    void stepTextScale(double delta);
    // Back to actual size; stores the integer 1.
    void resetTextScale();

    bool openInEditMode() const;
    void setOpenInEditMode(bool on);
    bool useCustomCSS() const;
    void setUseCustomCSS(bool on);
    // Whether pages fetch the web images a document names (a fetch tells the server
    // who reads it and when).
    bool loadRemoteImages() const;
    void setLoadRemoteImages(bool on);
    bool showSidebar() const;
    void setShowSidebar(bool on);
    // After a change on disk, bring the first changed block into view.
    bool followChanges() const;
    void setFollowChanges(bool on);
    double sidebarWidth() const;
    void setSidebarWidth(double width);
    bool debugHooks() const;
    void setDebugHooks(bool on);
    bool askedToBeDefault() const;
    void setAskedToBeDefault(bool asked);
    bool migratedFromScrivent() const;
    void setMigratedFromScrivent(bool migrated);

    // Root path to the sorted list of its expanded relative paths.
    QVariantMap sidebarExpanded() const;
    void setSidebarExpanded(const QVariantMap &expanded);
    // File path to the date it was last shown.
    QVariantMap sidebarViewed() const;
    void setSidebarViewed(const QVariantMap &viewed);
    // Folder path to the date it was first browsed.
    QVariantMap sidebarBaselines() const;
    void setSidebarBaselines(const QVariantMap &baselines);
    // Newest first, at most 20.
    QStringList workspaceFolders() const;
    void setWorkspaceFolders(const QStringList &folders);

    // Files opened lately, newest first, at most 10 (the Open Recent menu).
    QStringList recentDocuments() const;
    void setRecentDocuments(const QStringList &paths);
    void noteRecentDocument(const QString &path);
    // Whether Lumo has been started before (the first start shows the welcome page).
    bool launchedBefore() const;
    void setLaunchedBefore(bool launched);

Q_SIGNALS:
    // Fires for every key, after the key's own signal.
    void valueChanged(const QString &key);

    void themeChanged();
    void readerFontChanged();
    void readingWidthChanged();
    void appearanceChanged();
    void textScaleChanged();
    void openInEditModeChanged();
    void useCustomCSSChanged();
    void loadRemoteImagesChanged();
    void showSidebarChanged();
    void followChangesChanged();
    void sidebarWidthChanged();
    void debugHooksChanged();
    void askedToBeDefaultChanged();
    void migratedFromScriventChanged();
    void sidebarExpandedChanged();
    void sidebarViewedChanged();
    void sidebarBaselinesChanged();
    void workspaceFoldersChanged();

private:
    void announce(const QString &key);

    QSettings m_settings;
};

} // namespace Lumo::Base
